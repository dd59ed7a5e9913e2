#include "ui/widgets/message_box_alerts.h"

#include <QMessageBox>
#include <QPushButton>

namespace merlode {

int MessageBoxAlerts::runModal(const Alert& alert) {
    const RunLoop::Hold hold(loop_);
    QMessageBox box;
    box.setWindowTitle(QStringLiteral("Merlode"));
    // Names of tracks and players may hold anything: they are shown as they are.
    box.setTextFormat(Qt::PlainText);
    box.setText(alert.messageText);
    box.setInformativeText(alert.informativeText);
    QList<QAbstractButton*> buttons;
    for (const auto& title : alert.buttons)
        buttons.append(
            box.addButton(title, buttons.isEmpty() ? QMessageBox::AcceptRole : QMessageBox::RejectRole));
    if (!buttons.isEmpty())
        box.setDefaultButton(qobject_cast<QPushButton*>(buttons.first()));
    box.exec();
    // A box that was closed by its frame answers as its last button, which is the cautious one.
    const auto index = buttons.indexOf(box.clickedButton());
    return kAlertFirstButtonReturn + static_cast<int>(index >= 0 ? index : buttons.size() - 1);
}

} // namespace merlode
