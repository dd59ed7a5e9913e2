#include "platform/linux/curl_http_client.h"

// Loaded with the first web request: the library's own dependencies weigh more than the rest of the program.
extern "C" merlode::HttpClient* merlodeMakeHttpClient(merlode::Session* session) {
    return new merlode::CurlHttpClient(*session);
}
