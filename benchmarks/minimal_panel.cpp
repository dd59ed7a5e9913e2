// The least program that has a panel: merlode_bench_minimal_panel NAME takes the name on the bus, and shows
// or hides a drop-down of one colour beside the place that "Activate" names.

#include <QApplication>
#include <QDBusConnection>
#include <QWidget>

class Panel final : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.kde.StatusNotifierItem")
  public:
    Panel() {
        widget_.setStyleSheet(QStringLiteral("background: #a04030"));
        widget_.resize(340, 244);
    }

  public Q_SLOTS:
    void Activate(int x, int y) {
        widget_.move(x - 76, y + 12);
        widget_.setVisible(!widget_.isVisible());
    }

  private:
    QWidget widget_{nullptr, Qt::Popup | Qt::FramelessWindowHint};
};

int main(int argc, char** argv) {
    const QApplication application(argc, argv);
    Panel panel;
    auto bus = QDBusConnection::sessionBus();
    const QStringList arguments = QCoreApplication::arguments();
    if (!bus.registerObject(QStringLiteral("/StatusNotifierItem"), &panel, QDBusConnection::ExportAllSlots) ||
        arguments.size() < 2 || !bus.registerService(arguments.at(1)))
        return 1;
    return QApplication::exec();
}

#include "minimal_panel.moc"
