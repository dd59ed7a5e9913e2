#include "app/demo/demo_library.h"

#include <malloc.h>

// Loaded by the demo only: nothing else in the program writes music.
extern "C" {

bool merlodeMakeDemoAlbum(const QString* folder, int index) {
    return merlode::makeDemoAlbum(*folder, index);
}

bool merlodeMakeDemoLibrary(const QString* folder, const std::atomic<bool>* stop) {
    const bool made = merlode::makeDemoLibrary(*folder, {}, stop);
    malloc_trim(0); // seconds of sound were held in memory, once
    return made;
}
}
