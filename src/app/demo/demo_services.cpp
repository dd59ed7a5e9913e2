#include "app/demo/demo_services.h"

#include <algorithm>

namespace merlode {

namespace {

constexpr double kLongestDelay = 60;
constexpr std::size_t kMostFaults = 100;

ServiceFault faultIn(const WebRequest& request) {
    const auto value = [&request](const char* name) { return request.fields[QString::fromLatin1(name)]; };
    const int status = value("status").toInt();
    return {.latency = value("latency").toDouble(),
            .duration = value("duration").toDouble(),
            .status = status >= 200 && status <= 599 ? status : 0,
            .retryAfter = value("retryAfter").toUtf8(),
            .brokenOff = value("brokenOff") == u"1",
            .garbage = value("garbage") == u"1"};
}

// Not-a-number counts as none.
double delay(double seconds) {
    return seconds > 0 ? std::min(seconds, kLongestDelay) : 0;
}

WebAnswer spoiled(WebAnswer answer, const ServiceFault& fault) {
    if (fault.status) {
        answer.status = fault.status;
        answer.body = "{\"error\":{\"status\":" + QByteArray::number(fault.status) +
                      ",\"message\":\"This service is out of order.\"}}";
    }
    if (!fault.retryAfter.isEmpty())
        answer.headers.emplace_back("Retry-After", fault.retryAfter);
    if (fault.garbage)
        answer.body = QByteArray("{\"\xff\xfe\0<[[[", 9).repeated(50);
    if (fault.brokenOff)
        answer.breakOff = answer.body.size() / 2;
    answer.latency = delay(fault.latency);
    answer.duration = delay(fault.duration);
    return answer;
}

} // namespace

DemoServices::DemoServices(QString lastFMSecret)
    : lastFM_(std::move(lastFMSecret)),
      server_([this](const WebRequest& request) { return answer(request); }) {}

WebAnswer DemoServices::answer(const WebRequest& request) {
    if (request.path.startsWith(u"/control/"))
        return control(request);
    {
        const std::lock_guard lock(mutex_);
        requests_.push_back(request);
        if (requests_.size() > kMostRemembered)
            requests_.pop_front();
    }
    const auto fault = faultOf(request.path);
    return spoiled(serve(request), fault);
}

WebAnswer DemoServices::serve(const WebRequest& request) {
    const QString base = address();
    if (request.method != "GET" && request.method != "POST" && request.method != "HEAD")
        return {.status = 405, .type = "text/plain", .body = "only GET and POST"};
    if (auto spotify = answerAsSpotify(request, base))
        return *spotify;
    if (auto iTunes = answerAsiTunes(request, base))
        return *iTunes;
    if (auto lastFM = lastFM_.answer(request, base))
        return *lastFM;
    if (auto rdio = rdio_.answer(request, base))
        return *rdio;
    if (auto pandora = answerAsPandora(request))
        return *pandora;
    if (auto cover = answerWithCover(request))
        return *cover;
    return {.status = 404, .type = "text/plain", .body = "nobody here answers this"};
}

WebAnswer DemoServices::control(const WebRequest& request) {
    const QString prefix = request.fields[QStringLiteral("prefix")];
    if (request.path == u"/control/fault")
        setFault(prefix, faultIn(request));
    else if (request.path == u"/control/clear")
        clearFaults();
    else if (request.path != u"/control/counts")
        return {.status = 404, .type = "text/plain", .body = "no such control"};
    return jsonAnswer({{QStringLiteral("requests"), static_cast<qint64>(requests(prefix).size())},
                       {QStringLiteral("connections"), connections()}});
}

void DemoServices::setFault(const QString& prefix, const ServiceFault& fault) {
    const std::lock_guard lock(mutex_);
    if (faults_.size() < kMostFaults || faults_.contains(prefix))
        faults_[prefix] = fault;
}

void DemoServices::clearFaults() {
    const std::lock_guard lock(mutex_);
    faults_.clear();
}

ServiceFault DemoServices::faultOf(const QString& path) const {
    const std::lock_guard lock(mutex_);
    const ServiceFault* found = nullptr;
    for (const auto& [prefix, fault] : faults_) { // a longer prefix of the same path sorts behind
        if (path.startsWith(prefix))
            found = &fault;
    }
    return found ? *found : ServiceFault{};
}

std::vector<WebRequest> DemoServices::requests(const QString& prefix) const {
    const std::lock_guard lock(mutex_);
    std::vector<WebRequest> found;
    std::ranges::copy_if(requests_, std::back_inserter(found),
                         [&prefix](const auto& request) { return request.path.startsWith(prefix); });
    return found;
}

} // namespace merlode
