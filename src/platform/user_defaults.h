#pragma once

#include "base/defaults_keys.h"

#include <QVariant>

#include <optional>

namespace merlode {

/// The store of settings. A read falls through from the user's own values to the registered ones. Main
/// thread.
class UserDefaults {
  public:
    virtual ~UserDefaults() = default;

    /// Fall-back values for keys that the user has not set. They are never written to disk; later calls add
    /// to and replace earlier ones key by key.
    virtual void registerDefaults(const QVariantMap& values) = 0;

    /// Stores a value, which is written to disk soon and by `synchronize` at the latest. An invalid QVariant
    /// removes the key.
    virtual void setValue(const QString& key, const QVariant& value) = 0;

    /// The value of a key, or an invalid QVariant where neither the user nor the program has set one.
    virtual QVariant value(const QString& key) const = 0;

    /// Writes what is not on disk yet. False when that failed; the values stay in memory and are tried again
    /// with the next change.
    virtual bool synchronize() = 0;

    /// False for an absent key and for a value that is neither a boolean nor a number.
    bool boolFor(DefaultsKey<bool> key) const { return optionalBoolFor(key).value_or(false); }

    /// Tells absence apart; a value of another type counts as absent.
    std::optional<bool> optionalBoolFor(DefaultsKey<bool> key) const {
        const QVariant found = value(key.text());
        const auto type = found.typeId();
        if (type == QMetaType::Bool || type == QMetaType::Int || type == QMetaType::LongLong ||
            type == QMetaType::Double)
            return found.toBool();
        return std::nullopt;
    }

    /// Nothing for an absent key and for a value of another type.
    template<class T>
    std::optional<T> valueFor(DefaultsKey<T> key) const {
        const QVariant found = value(key.text());
        if (found.metaType() != QMetaType::fromType<T>())
            return std::nullopt;
        return found.value<T>();
    }

    template<class T>
    void set(DefaultsKey<T> key, const T& newValue) {
        setValue(key.text(), QVariant::fromValue(newValue));
    }

    template<class T>
    void remove(DefaultsKey<T> key) {
        setValue(key.text(), {});
    }
};

} // namespace merlode
