#include "platform/linux/mpd_media_library.h"
#include "platform/linux/music_folder_library.h"

// Loaded with the music library, which brings a reader of tags and a database.
extern "C" merlode::MediaLibrary* merlodeMakeMediaLibrary(merlode::Session* session,
                                                          const QByteArray* cacheFile,
                                                          const std::function<QString()>* folder) {
    return new merlode::MusicFolderLibrary(*session, {*cacheFile, *folder},
                                           merlode::makeThreadPoolExecutor());
}

extern "C" merlode::MediaLibrary* merlodeMakeMpdMediaLibrary(merlode::Session* session,
                                                             const QByteArray* cacheFile,
                                                             const merlode::MpdAddress* address) {
    return new merlode::MpdMediaLibrary(*session, *address, *cacheFile, merlode::makeThreadPoolExecutor());
}
