// The least program that is on the bus: merlode_bench_minimal NAME takes the name and stays. With --titles it
// writes the title of each track that a player announces, with nothing between the signal and the line.

#include <QCoreApplication>
#include <QDBusArgument>
#include <QDBusConnection>
#include <QVariantMap>

#include <unistd.h>

class Titles final : public QObject {
    Q_OBJECT
  public:
    bool listen(QDBusConnection bus) {
        return bus.connect(
            {}, QStringLiteral("/org/mpris/MediaPlayer2"), QStringLiteral("org.freedesktop.DBus.Properties"),
            QStringLiteral("PropertiesChanged"), this, SLOT(changed(QString, QVariantMap, QStringList)));
    }

  public Q_SLOTS:
    void changed(const QString&, const QVariantMap& properties, const QStringList&) {
        const QVariant value = properties.value(QStringLiteral("Metadata"));
        if (!value.isValid())
            return;
        const auto metadata = qdbus_cast<QVariantMap>(value.value<QDBusArgument>());
        const QByteArray line = metadata.value(QStringLiteral("xesam:title")).toString().toUtf8() + '\n';
        if (::write(STDOUT_FILENO, line.constData(), static_cast<std::size_t>(line.size())) < 0)
            QCoreApplication::quit();
    }
};

int main(int argc, char** argv) {
    const QCoreApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    auto bus = QDBusConnection::sessionBus();
    Titles titles;
    if (arguments.contains(QStringLiteral("--titles")) && !titles.listen(bus))
        return 1;
    if (arguments.size() < 2 || !bus.registerService(arguments.at(1)))
        return 1;
    return QCoreApplication::exec();
}

#include "minimal.moc"
