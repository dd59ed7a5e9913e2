#include "model/json.h"
#include "model/json_document.h"

namespace merlode {

qsizetype JSON::count() const {
    if (type_ != Array && type_ != Dictionary)
        return 0;
    const auto* const part = parsed();
    if (type_ == Dictionary)
        return part ? static_cast<qsizetype>(fieldsAt(part->place).size()) : map().size();
    return part ? elementCountAt(part->place) : list().size();
}

bool JSON::isEmpty() const {
    return count() == 0;
}

JSONIndex JSON::startIndex() const {
    return endIndex().kind() == JSONIndex::Kind::None ? JSONIndex() : JSONIndex(endIndex().kind(), 0);
}

JSONIndex JSON::endIndex() const {
    if (type_ == Array)
        return {JSONIndex::Kind::Array, count()};
    if (type_ == Dictionary)
        return {JSONIndex::Kind::Dictionary, count()};
    return {};
}

std::pair<QString, JSON> JSON::operator[](const JSONIndex& index) const {
    if (!(index >= startIndex() && index < endIndex()))
        return {};
    JSONGenerator walk(*this);
    for (qsizetype skipped = 0; skipped < index.position(); ++skipped)
        walk.next();
    return walk.next().value_or(JSONGenerator::Element());
}

JSONGenerator::JSONGenerator(const JSON& json) : json_(json) {
    const auto* const part = json_.parsed();
    if (part && json_.type_ == JSON::Array) {
        elements_ = elementsAt(part->place);
    } else if (part) {
        fields_ = fieldsAt(part->place);
    } else if (json_.type_ == JSON::Dictionary) {
        map_ = json_.map();
        entry_ = map_.cbegin();
    }
}

std::optional<JSONGenerator::Element> JSONGenerator::next() {
    if (json_.type_ == JSON::Array)
        return nextOfArray();
    if (json_.type_ == JSON::Dictionary)
        return nextOfDictionary();
    return std::nullopt;
}

std::optional<JSONGenerator::Element> JSONGenerator::nextOfArray() {
    if (const auto* const part = json_.parsed()) {
        if (elements_.first == elements_.end)
            return std::nullopt;
        const JSONPlace place = std::exchange(elements_.first, nextElement(elements_.first));
        return Element(QString::number(position_++), JSON(part->document, place));
    }
    const QVariantList& list = json_.list();
    if (position_ == list.size())
        return std::nullopt;
    const QVariant& object = list.at(position_);
    return Element(QString::number(position_++), JSON(object));
}

std::optional<JSONGenerator::Element> JSONGenerator::nextOfDictionary() {
    if (const auto* const part = json_.parsed()) {
        if (position_ == static_cast<qsizetype>(fields_.size()))
            return std::nullopt;
        const auto& [key, place] = fields_[static_cast<std::size_t>(position_++)];
        return Element(textOf(key), JSON(part->document, place));
    }
    if (entry_ == map_.cend())
        return std::nullopt;
    const auto field = entry_++;
    return Element(field.key(), JSON(field.value()));
}

} // namespace merlode
