#include "ctl/doctor.h"

#include "ctl/output.h"
#include "ctl/program.h"
#include "ctl/render.h"

#include <QCoreApplication>
#include <QFileInfo>
#include <QJsonDocument>
#include <QProcess>
#include <QStandardPaths>

namespace merlode::ctl {

namespace {

/// The checks look for programs and ask services; one that hangs must not hang us.
constexpr int kChecksMilliseconds = 20000;

/// The merlode that belongs to this merlodectl, or the one in PATH.
QString executable() {
    const auto beside = QCoreApplication::applicationDirPath() + QStringLiteral("/merlode");
    return QFileInfo(beside).isExecutable() ? beside
                                            : QStandardPaths::findExecutable(QStringLiteral("merlode"));
}

std::optional<QJsonArray> checksWithoutProgram() {
    QProcess process;
    process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    process.setStandardInputFile(QProcess::nullDevice());
    process.start(executable(), {QStringLiteral("--doctor")});
    if (!process.waitForFinished(kChecksMilliseconds))
        return std::nullopt;
    return readChecks(process.readAllStandardOutput());
}

int print(const QJsonArray& checks, bool json) {
    if (json)
        printOut(jsonLine(checks));
    else
        printOut(doctorText(checks));
    return anyMissing(checks) ? kFailed : kDone;
}

} // namespace

std::optional<QJsonArray> readChecks(const QByteArray& output) {
    const auto document = QJsonDocument::fromJson(output);
    return document.isArray() ? std::optional(document.array()) : std::nullopt;
}

int doctor(bool json) {
    if (const auto program = Program::find()) {
        const auto reply = program->call("Doctor", {}, "aa{sv}");
        if (reply)
            return print(reply.array(), json);
        printProblem(reply.problem);
        return reply.code;
    }
    if (executable().isEmpty()) {
        printProblem(QStringLiteral("merlode is not running, and there is no merlode in PATH"));
        return kNotRunning;
    }
    auto checks = checksWithoutProgram();
    if (!checks) {
        printProblem(
            QStringLiteral("merlode is not running, and '%1 --doctor' gave no answer").arg(executable()));
        return kNotRunning;
    }
    checks->prepend(notRunningCheck());
    return print(*checks, json);
}

} // namespace merlode::ctl
