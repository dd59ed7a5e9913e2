#pragma once

#include "platform/media_library.h"

namespace merlode {

/// The library of who has none.
class NullMediaLibrary final : public MediaLibrary {
  public:
    void readItems(const Visit&) override {}
    bool isFinal() override { return true; }
    Image artwork(quint64) override { return {}; }
    std::optional<QByteArray> location(quint64) override { return std::nullopt; }
    void startScan() override {}
    void cancelScan() override {}
    Progress progress() const override { return {}; }
    QString place() const override { return {}; }
};

} // namespace merlode
