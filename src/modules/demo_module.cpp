#include "app/demo/demo_library.h"
#include "app/demo/demo_services.h"

#include <malloc.h>

// Loaded by the demo only: nothing else in the program writes music or serves the web.
extern "C" {

bool merlodeMakeDemoAlbum(const QString* folder, int index) {
    return merlode::makeDemoAlbum(*folder, index);
}

bool merlodeMakeDemoLibrary(const QString* folder, const std::atomic<bool>* stop) {
    const bool made = merlode::makeDemoLibrary(*folder, {}, stop);
    malloc_trim(0); // seconds of sound were held in memory, once
    return made;
}

void merlodeStartDemoServices(std::shared_ptr<void>* services, QString* address) {
    const auto started = std::make_shared<merlode::DemoServices>();
    *services = started;
    *address = started->address();
}
}
