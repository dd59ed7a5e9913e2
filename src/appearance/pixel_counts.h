#pragma once

#include <QImage>

#include <utility>
#include <vector>

namespace merlode {

/// How often each colour comes in a picture. Any thread.
class PixelCounts {
  public:
    struct Entry {
        QRgb pixel;
        quint32 count;
    };

    /// Counts the pixels of the first `columns` columns of a picture in the format ARGB32.
    PixelCounts(const QImage& image, int columns);

    /// The colours, in the order in which they first come when one goes through column after column.
    const std::vector<Entry>& entries() const { return entries_; }
    /// Leaves no colours behind.
    std::vector<Entry> takeEntries() { return std::move(entries_); }
    /// 0 for a colour that does not come.
    quint32 countOf(QRgb pixel) const;

  private:
    std::size_t slotOf(QRgb pixel) const {
        constexpr quint32 kSpread = 2654435769U; // 2^32 by the golden ratio: neighbours land far apart
        std::size_t at = (pixel * kSpread) >> (32 - bits_);
        while (table_[at] != 0 && entries_[table_[at] - 1].pixel != pixel)
            at = (at + 1) & (table_.size() - 1);
        return at;
    }
    void add(const std::vector<QRgb>& pixels);
    void grow();

    // Open addressing, by colour: 1 + its place in `entries_`; 0 for a free slot. Slots are this small, and
    // mostly free, because fresh memory and colours that share a slot are what takes the time.
    int bits_ = 14;
    std::vector<quint32> table_ = std::vector<quint32>(std::size_t{1} << bits_);
    std::vector<Entry> entries_;
    std::size_t last_ = 0;
};

} // namespace merlode
