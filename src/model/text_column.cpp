#include "model/text_column.h"

#include <cstring>
#include <limits>

namespace merlode {

namespace {

constexpr char kSeparator = '\xff';

// One character for one, as QString compares: folding by whole texts would make a sharp s into "ss".
QByteArray caseFolded(const QString& text, const QByteArray& utf8) {
    if (utf8.size() == text.size())
        return utf8.toLower(); // nothing but ASCII
    auto characters = text.toUcs4();
    for (auto& character : characters)
        character = QChar::toCaseFolded(char32_t(character));
    const auto* first = reinterpret_cast<const char32_t*>(characters.constData());
    return QString::fromUcs4(first, characters.size()).toUtf8();
}

} // namespace

bool TextBlock::hasRoomFor(qsizetype length) const {
    return bytes_.size() + static_cast<std::size_t>(length) < std::numeric_limits<quint32>::max();
}

void TextBlock::append(QByteArrayView text) {
    bytes_.append(text.data(), static_cast<std::size_t>(text.size())).push_back(kSeparator);
    ends_.push_back(static_cast<quint32>(bytes_.size() - 1));
}

void TextBlock::squeeze() {
    bytes_.shrink_to_fit();
    ends_.shrink_to_fit();
}

std::size_t TextBlock::find(std::string_view piece, std::size_t from) const {
    // Several times as fast as std::string_view::find.
    const void* hit = piece.empty()
                          ? nullptr
                          : ::memmem(bytes_.data() + from, bytes_.size() - from, piece.data(), piece.size());
    return hit ? static_cast<std::size_t>(static_cast<const char*>(hit) - bytes_.data())
               : std::string_view::npos;
}

// The index of the text at this position, which is `from` or a later one. Hits of a common term are close to
// each other, so the steps begin small.
TextBlock::Index TextBlock::indexAt(std::size_t position, Index from) const {
    const auto passed = [&](std::size_t index) { return ends_[index] <= position; };
    std::size_t low = from;
    std::size_t step = 1;
    while (low + step < ends_.size() && passed(low + step)) {
        low += step;
        step *= 2;
    }
    const auto first = ends_.begin() + static_cast<std::ptrdiff_t>(low);
    const auto last = ends_.begin() + static_cast<std::ptrdiff_t>(std::min(low + step + 1, ends_.size()));
    return static_cast<Index>(std::upper_bound(first, last, position) - ends_.begin());
}

SearchTerm::SearchTerm(const QString& text) : text_(text), wellFormed_(text.isValidUtf16()) {
    const QByteArray utf8 = text.toUtf8();
    bytes_ = utf8.toStdString();
    folded_ = caseFolded(text, utf8).toStdString();
}

bool TextColumn::hasRoomFor(const QString& text) const {
    constexpr qsizetype mostBytesOfUnit = 3;
    return texts_.hasRoomFor(mostBytesOfUnit * text.size()) &&
           folded_.hasRoomFor(mostBytesOfUnit * text.size());
}

void TextColumn::append(const QString& text) {
    const QByteArray utf8 = text.toUtf8();
    texts_.append(utf8);
    folded_.append(caseFolded(text.isValidUtf16() ? text : QString::fromUtf8(utf8), utf8));
}

void TextColumn::squeeze() {
    texts_.squeeze();
    folded_.squeeze();
}

QString TextColumn::text(Index index) const {
    const auto bytes = texts_.at(index);
    return QString::fromUtf8(bytes.data(), static_cast<qsizetype>(bytes.size()));
}

} // namespace merlode
