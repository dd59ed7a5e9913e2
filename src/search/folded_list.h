#pragma once

#include "model/item_identity.h"

#include <memory>
#include <unordered_map>
#include <vector>

namespace merlode {

/// Items of several services as one list, without equal ones, in the order of their first appearance. What is
/// there stays: a service that comes later adds keys to it. One thread at a time; folding in an item takes
/// the same time however long the list is.
///
/// `Item` is `Track` or `Album`.
template<class Item>
class FoldedList {
  public:
    using Pointer = std::shared_ptr<Item>;

    /// Without `looksForKeys` newcomers are left as they are: for items that go elsewhere at once, or whose
    /// keys are to be had elsewhere.
    explicit FoldedList(bool looksForKeys = true) : looksForKeys_(looksForKeys) {}

    const std::vector<Pointer>& items() const { return items_; }
    std::size_t size() const { return items_.size(); }
    std::vector<Pointer> takeItems() {
        places_.clear();
        return std::exchange(items_, {});
    }

    /// The item of the list that equals this one, or null.
    Pointer equalOf(const Item& item) const {
        const auto found = places_.find(&item.identity());
        return found == places_.end() ? nullptr : items_[found->second];
    }

    /// An equal item takes the newcomer's services and their keys, and the newcomer is dropped. Otherwise the
    /// newcomer is appended, and looks for its keys at the services that it lacks.
    void fold(const Pointer& newcomer) {
        if (const auto equal = equalOf(*newcomer))
            return equal->takeServices(*newcomer);
        append(newcomer);
    }

    /// As above, but an equal item stays as it is. False if there was one.
    bool appendNew(const Pointer& newcomer) {
        if (places_.contains(&newcomer->identity()))
            return false;
        append(newcomer);
        return true;
    }

  private:
    struct Hash {
        std::size_t operator()(const ItemIdentity* identity) const { return identity->hash(); }
    };
    struct Equal {
        bool operator()(const ItemIdentity* one, const ItemIdentity* other) const { return *one == *other; }
    };

    void append(const Pointer& newcomer) {
        if (looksForKeys_)
            newcomer->getPlayKeys();
        items_.push_back(newcomer);
        places_.emplace(&newcomer->identity(), items_.size() - 1);
    }

    const bool looksForKeys_;
    std::vector<Pointer> items_;
    std::unordered_map<const ItemIdentity*, std::size_t, Hash, Equal> places_; ///< the items own the keys
};

} // namespace merlode
