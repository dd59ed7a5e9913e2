#include "footprint.h"

#include "support/private_bus.h"

#include <QDir>
#include <QFile>
#include <QProcess>

namespace merlode::bench {

namespace {

constexpr double kNanoseconds = 1e9;

QByteArray readProc(const QString& path) {
    QFile file(u"/proc/"_qs + path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

double numberAfter(const QByteArray& text, const char* key) {
    const auto at = text.indexOf(key);
    return at < 0 ? 0
                  : text.mid(at + static_cast<qsizetype>(qstrlen(key)))
                        .trimmed()
                        .split(' ')
                        .constFirst()
                        .toDouble();
}

} // namespace

OwnLibraries::OwnLibraries(const QStringList& programs) {
    for (const auto& program : programs) {
        QProcess ldd;
        ldd.start(u"ldd"_qs, {program});
        ldd.waitForFinished();
        for (const auto& line : QString::fromLocal8Bit(ldd.readAll()).split(u'\n')) {
            const QString path = line.section(u"=> "_qs, 1).section(u' ', 0, 0);
            const QString name = path.section(u'/', -1);
            if (path.startsWith(u'/') && !name.startsWith(u"libc.so") && !name.startsWith(u"ld-linux"))
                QFile::copy(path, folder_.filePath(name));
        }
    }
}

QProcessEnvironment OwnLibraries::in(QProcessEnvironment environment) const {
    environment.insert(u"LD_LIBRARY_PATH"_qs, folder_.path());
    return environment;
}

double megabytes(pid_t process) {
    return numberAfter(readProc(u"%1/smaps_rollup"_qs.arg(process)), "\nPss:") / 1024;
}

Usage Usage::of(pid_t process) {
    Usage usage;
    const QString tasks = u"%1/task"_qs.arg(process);
    for (const auto& task : QDir(u"/proc/"_qs + tasks).entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
        const QString folder = tasks + u'/' + task;
        usage.seconds +=
            readProc(folder + u"/schedstat"_qs).split(' ').constFirst().toDouble() / kNanoseconds;
        // The number ends at the line's end.
        const QByteArray status = readProc(folder + u"/status"_qs).replace('\n', " \n");
        usage.wakeUps += numberAfter(status, "\nvoluntary_ctxt_switches:");
    }
    return usage;
}

void waitFor(double seconds) {
    waitUntil([] { return false; }, seconds);
}

} // namespace merlode::bench
