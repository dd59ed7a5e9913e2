#include "appearance/pixel_counts.h"

#include <algorithm>

namespace merlode {

namespace {

// Down single columns each pixel would fetch a line of the cache of its own; a strip uses the whole line.
constexpr int kStrip = 16;

/// The pixels of the columns from `left` to before `right`, column after column.
void readStrip(const QImage& image, int left, int right, std::vector<QRgb>& pixels) {
    const auto height = static_cast<std::size_t>(image.height());
    pixels.resize(static_cast<std::size_t>(right - left) * height);
    for (std::size_t y = 0; y < height; ++y) {
        const auto* row = reinterpret_cast<const QRgb*>(image.constScanLine(static_cast<int>(y)));
        std::size_t at = y;
        for (int x = left; x < right; ++x, at += height)
            pixels[at] = row[x];
    }
}

} // namespace

PixelCounts::PixelCounts(const QImage& image, int columns) {
    entries_.reserve(static_cast<std::size_t>(columns) * static_cast<std::size_t>(image.height()));
    std::vector<QRgb> pixels;
    for (int left = 0; left < columns; left += kStrip) {
        readStrip(image, left, std::min(left + kStrip, columns), pixels);
        add(pixels);
    }
}

quint32 PixelCounts::countOf(QRgb pixel) const {
    const quint32 slot = table_[slotOf(pixel)];
    return slot == 0 ? 0 : entries_[slot - 1].count;
}

void PixelCounts::add(const std::vector<QRgb>& pixels) {
    for (const QRgb pixel : pixels) {
        if (entries_.empty() || entries_[last_].pixel != pixel) { // pictures have areas
            quint32& slot = table_[slotOf(pixel)];
            if (slot == 0) {
                entries_.push_back({pixel, 0});
                slot = static_cast<quint32>(entries_.size());
            }
            last_ = slot - 1;
            if (2 * entries_.size() > table_.size())
                grow();
        }
        ++entries_[last_].count;
    }
}

// In one leap from what a drawing needs to what a photograph does.
void PixelCounts::grow() {
    bits_ += 5;
    table_.assign(std::size_t{1} << bits_, 0);
    for (quint32 place = 0; place < entries_.size(); ++place)
        table_[slotOf(entries_[place].pixel)] = place + 1;
}

} // namespace merlode
