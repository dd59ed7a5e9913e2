#include "ctl/run.h"

#include <QCoreApplication>

#include <clocale>
#include <csignal>
#include <cstdlib>
#include <cstring>

#include <langinfo.h>

namespace {

/// Status bars and cron jobs run us in the "C" locale, of which Qt would complain on standard error each
/// time.
void useUtf8Locale() {
    std::setlocale(LC_ALL, "");
    if (std::strcmp(::nl_langinfo(CODESET), "UTF-8") != 0)
        qputenv("LC_ALL", "C.UTF-8");
}

} // namespace

int main(int argc, char** argv) {
    useUtf8Locale();
    std::signal(SIGPIPE, SIG_IGN);
    const QCoreApplication application(argc, argv);
    // Everything is written by now. Qt's D-Bus thread may still be at work, and complains on standard error
    // when the types that it uses are taken down around it.
    std::quick_exit(merlode::ctl::run(QCoreApplication::arguments().mid(1)));
}
