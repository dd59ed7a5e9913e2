#include "base/property_list_limits.h"

#include <optional>

namespace merlode::property_list {

namespace {

// How many bytes may be moved for the character references of one text: a tenth of a second's worth.
constexpr qsizetype kMostMovedBytes = 1 << 30;

/// Walks over the markup just as the library does, which decides what counts as a container.
class Walk {
  public:
    explicit Walk(QByteArrayView xml) : xml_(xml) {}

    bool isHarmless() {
        qsizetype at = xml_.indexOf('<');
        while (at >= 0) {
            const auto end = endOfMarkup(at);
            if (!end || depth_ > kDeepestNesting || keys_ > kMostKeys)
                return false;
            at = xml_.indexOf('<', *end);
            if (!payForReferences(*end, at < 0 ? xml_.size() : at))
                return false;
        }
        return true;
    }

  private:
    /// Where the markup that begins here ends; nothing where that cannot be told.
    std::optional<qsizetype> endOfMarkup(qsizetype at) {
        const auto rest = xml_.sliced(at + 1);
        if (rest.startsWith('!') && rest.startsWith("!--"))
            return after("-->", at + 4);
        if (rest.startsWith('!') && rest.startsWith("![CDATA["))
            return after("]]>", at + 9);
        if (rest.startsWith('?'))
            return after("?>", at + 2);
        const auto end = after(">", at);
        if (!end)
            return std::nullopt;
        const auto tag = xml_.sliced(at, *end - at);
        if (!isPlain(tag))
            return std::nullopt;
        count(tag);
        return end;
    }

    std::optional<qsizetype> after(QByteArrayView mark, qsizetype from) const {
        const qsizetype found = xml_.indexOf(mark, from);
        return found < 0 ? std::nullopt : std::optional(found + mark.size());
    }

    // An angle bracket within quotation marks or an internal subset would not be the end.
    static bool isPlain(QByteArrayView tag) {
        int quotes = 0;
        bool odd = false;
        for (const char character : tag) {
            quotes += character == '"';
            odd |= character == '\'' || character == '[';
        }
        return quotes % 2 == 0 && !odd;
    }

    void count(QByteArrayView tag) {
        const bool closing = tag.startsWith("</");
        const auto name = tag.sliced(closing ? 2 : 1);
        if (name.startsWith("key"))
            ++keys_;
        if (!name.startsWith("dict") && !name.startsWith("array"))
            return;
        if (closing)
            --depth_;
        else if (!tag.endsWith("/>"))
            ++depth_;
    }

    bool payForReferences(qsizetype from, qsizetype end) {
        const auto text = xml_.sliced(from, end - from);
        for (qsizetype at = text.indexOf('&'); at >= 0; at = text.indexOf('&', at + 1)) {
            moved_ += text.size() - at;
            if (moved_ > kMostMovedBytes)
                return false;
        }
        return true;
    }

    QByteArrayView xml_;
    int depth_ = 0;
    int keys_ = 0;
    qsizetype moved_ = 0;
};

} // namespace

bool isHarmless(QByteArrayView xml) {
    return Walk(xml).isHarmless();
}

} // namespace merlode::property_list
