#include "platform/linux/log_alerts.h"

#include <QLoggingCategory>

namespace merlode {

namespace {
Q_LOGGING_CATEGORY(log, "merlode.alerts", QtWarningMsg)
} // namespace

int LogAlerts::runModal(const Alert& alert) {
    qCWarning(log).noquote() << alert.messageText + QStringLiteral(": ") + alert.informativeText;
    return kAlertFirstButtonReturn;
}

} // namespace merlode
