#pragma once

#include <QByteArrayView>

namespace merlode::property_list {

/// How deep containers may nest in a text that is read; deeper texts are refused. Nothing the program writes
/// goes below 8.
inline constexpr int kDeepestNesting = 64;
/// How many keys a text may have. The longest honest messages have some thousands.
inline constexpr int kMostKeys = 100'000;

/// Whether reading the text costs the library no more than its length warrants: it frees containers by
/// recursion, moves the rest of a text at each character reference in it, and fills its dictionaries in
/// quadratic time. Texts whose structure cannot be told at a glance are refused too. Any thread.
bool isHarmless(QByteArrayView xml);

} // namespace merlode::property_list
