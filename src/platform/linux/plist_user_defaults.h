#pragma once

#include "base/run_loop.h"
#include "platform/user_defaults.h"

#include <QString>

#include <functional>

namespace merlode {

/// User defaults as an XML property list. A change is written `kWriteDelay` seconds later together with those
/// that came in between, atomically: a reader sees the old file or the new one, also after a power cut. Main
/// thread.
class PlistUserDefaults final : public UserDefaults {
  public:
    /// Changes of this many seconds go into one write.
    static constexpr double kWriteDelay = 0.2;

    /// Told in plain words of what went wrong with the file.
    using Report = std::function<void(const QString& message)>;

    /// Reads the file, if there is one. A file that cannot be read as a property list is renamed to
    /// "<name>.damaged-<number>" and reported, and the store starts empty. A missing file is no fault.
    PlistUserDefaults(QString filePath, RunLoop& loop, Report report);

    /// Writes what is not on disk yet.
    ~PlistUserDefaults() override;

    void registerDefaults(const QVariantMap& values) override;
    void setValue(const QString& key, const QVariant& value) override;
    QVariant value(const QString& key) const override;

    /// A failed write (a full disk, a folder that is read-only) is reported once, until one succeeds again.
    bool synchronize() override;

  private:
    void load();
    void setAsideDamagedFile();

    QString filePath_;
    RunLoop& loop_;
    Report report_;
    QVariantMap values_;
    QVariantMap registered_;
    Timer writeTimer_;
    bool dirty_ = false;
    bool failureReported_ = false;
};

} // namespace merlode
