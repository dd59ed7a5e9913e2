#pragma once

#include <QByteArray>
#include <QString>

#include <algorithm>
#include <concepts>
#include <string>
#include <string_view>
#include <vector>

namespace merlode {

/// UTF-8 texts one behind the other in one block, so that a search for a piece of text is one walk over
/// memory and a text costs little more than its bytes.
class TextBlock {
  public:
    using Index = quint32;

    /// Whether the offsets reach behind another text of this many bytes. Without room none may be appended.
    bool hasRoomFor(qsizetype length) const;
    void append(QByteArrayView text);
    void squeeze();

    Index size() const { return static_cast<Index>(ends_.size()); }
    std::string_view at(Index index) const {
        const std::size_t start = startOf(index);
        return std::string_view(bytes_).substr(start, ends_[index] - start);
    }

    /// Hands `visit` the index of each text that contains these bytes, in order, until it says false.
    /// Nothing contains an empty text.
    template<std::predicate<Index> Visit>
    void forEachContaining(std::string_view piece, Visit visit) const {
        std::size_t from = 0;
        for (Index index = 0; (from = find(piece, from)) != std::string_view::npos; ++index) {
            index = indexAt(from, index);
            if (!visit(index))
                return;
            from = ends_[index];
        }
    }

    /// All texts with what stands between them, for who wants to measure against a plain search.
    std::string_view bytes() const { return bytes_; }

  private:
    std::size_t startOf(Index index) const { return index == 0 ? 0 : ends_[index - 1] + std::size_t(1); }
    std::size_t find(std::string_view piece, std::size_t from) const;
    Index indexAt(std::size_t position, Index from) const;

    std::string bytes_; ///< each text is followed by a byte that no UTF-8 has
    std::vector<quint32> ends_;
};

/// A piece of text to look for, in the forms in which columns of texts keep theirs.
class SearchTerm {
  public:
    explicit SearchTerm(const QString& text);

    const QString& text() const { return text_; }
    std::string_view bytes() const { return bytes_; }
    std::string_view folded() const { return folded_; }
    /// False for half a character, which only a comparison of UTF-16 can find.
    bool isWellFormed() const { return wellFormed_; }

  private:
    QString text_;
    std::string bytes_;
    std::string folded_;
    bool wellFormed_;
};

/// A column of texts, each kept as it is and in the form that all its spellings in other cases share. Halves
/// of UTF-16 pairs are kept as question marks. A copy is a deep one. Once built, any thread.
class TextColumn {
  public:
    using Index = TextBlock::Index;

    /// False where the column might not hold another text, after some gigabytes; none may be appended then.
    bool hasRoomFor(const QString& text) const;
    void append(const QString& text);
    void squeeze();

    Index size() const { return texts_.size(); }
    QString text(Index index) const;
    /// Two of these are equal exactly when their texts compare as equal with `Qt::CaseInsensitive`.
    std::string_view folded(Index index) const { return folded_.at(index); }
    const TextBlock& foldedBlock() const { return folded_; }

    /// Hands `visit` the index of each text that contains the term, just as `QString::contains` sees it, in
    /// order, until it says false. Nothing contains an empty term.
    template<std::predicate<Index> Visit>
    void forEachContaining(const SearchTerm& term, Qt::CaseSensitivity sensitivity, Visit visit) const {
        if (!term.isWellFormed())
            return forEachByUtf16(term.text(), sensitivity, visit);
        if (sensitivity == Qt::CaseSensitive)
            return texts_.forEachContaining(term.bytes(), visit);
        folded_.forEachContaining(term.folded(), visit);
    }

  private:
    template<std::predicate<Index> Visit>
    void forEachByUtf16(const QString& term, Qt::CaseSensitivity sensitivity, Visit visit) const {
        for (Index index = 0; index < size(); ++index) {
            if (text(index).contains(term, sensitivity) && !visit(index))
                return;
        }
    }

    TextBlock texts_;
    TextBlock folded_;
};

} // namespace merlode
