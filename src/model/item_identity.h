#pragma once

#include <QString>

#include <functional>
#include <initializer_list>

namespace merlode {

/// By what two items of one kind count as the same music: their names, whatever the case. Made once for each
/// item, with its hash, so that comparing is cheap and folding a list linear. Two identities are equal
/// exactly when they were made of the same number of names and each pair of names is equal in lower case;
/// nothing is trimmed and accents count. Immutable; any thread.
class ItemIdentity {
  public:
    ItemIdentity(std::initializer_list<QStringView> names);

    const QString& text() const { return text_; }
    std::size_t hash() const { return hash_; }
    bool operator==(const ItemIdentity& other) const { return hash_ == other.hash_ && text_ == other.text_; }

  private:
    QString text_;
    std::size_t hash_;
};

} // namespace merlode

template<>
struct std::hash<merlode::ItemIdentity> {
    std::size_t operator()(const merlode::ItemIdentity& identity) const noexcept { return identity.hash(); }
};
