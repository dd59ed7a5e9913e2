#pragma once

#include "platform/user_defaults.h"

#include <gtest/gtest.h>

namespace merlode {

/// What every store of settings does. A `Store` has `UserDefaults& defaults()` and `void reopen()`, after
/// which the store is as the next start of the program finds it; a store in memory does nothing there.
template<class Store>
class UserDefaultsContract : public testing::Test {
  protected:
    Store store;
};
TYPED_TEST_SUITE_P(UserDefaultsContract);

TYPED_TEST_P(UserDefaultsContract, RegisteredValuesStandBehindTheUsers) {
    auto& settings = this->store.defaults();
    const auto hostName = [&settings] { return settings.valueFor(defaults::kHostName); };
    settings.registerDefaults(
        {{defaults::kHostName.text(), u"first"_qs}, {defaults::kAutoConnect.text(), true}});
    EXPECT_EQ(hostName(), u"first"_qs);
    settings.set(defaults::kHostName, u"mine"_qs);
    settings.registerDefaults({{defaults::kHostName.text(), u"later"_qs}});
    EXPECT_EQ(hostName(), u"mine"_qs);
    EXPECT_TRUE(settings.boolFor(defaults::kAutoConnect))
        << "an earlier key, which the later call does not name";
    settings.set(defaults::kAutoConnect, false);
    EXPECT_FALSE(settings.boolFor(defaults::kAutoConnect));
    settings.remove(defaults::kHostName);
    EXPECT_EQ(hostName(), u"later"_qs);
}

TYPED_TEST_P(UserDefaultsContract, ValuesKeepTheirTypes) {
    const QVariantList values{true,
                              false,
                              0,
                              -7,
                              1,
                              0.25,
                              QString(),
                              u"Jörg & <die> \"Züge\"\n雨"_qs,
                              QByteArray("\0\xff\n", 3),
                              QVariantList{1, u"1"_qs, true},
                              QVariantMap{{u"a"_qs, QVariantMap{{u"b"_qs, QByteArray()}}}, {u"c"_qs, true}}};
    for (int index = 0; index < values.size(); ++index)
        this->store.defaults().setValue(QString::number(index), values[index]);
    this->store.reopen();
    for (int index = 0; index < values.size(); ++index) {
        const QVariant found = this->store.defaults().value(QString::number(index));
        EXPECT_EQ(found, values[index]) << index;
        // How wide an integer is may change; that it is one, and no boolean, may not.
        const bool integer =
            values[index].typeId() == QMetaType::Int && found.typeId() == QMetaType::LongLong;
        EXPECT_TRUE(integer || found.typeId() == values[index].typeId()) << index << ": " << found.typeName();
    }
}

TYPED_TEST_P(UserDefaultsContract, AbsenceIsToldApartFromFalse) {
    struct Row {
        QVariant stored;
        std::optional<bool> read;
    };
    const Row rows[] = {{{}, {}},    {true, true},     {false, false},      {0, false},  {2, true},
                        {0.5, true}, {u"true"_qs, {}}, {QVariantMap(), {}}, {0.0, false}};
    for (const auto& [stored, read] : rows) {
        this->store.defaults().setValue(defaults::kControlMac.text(), stored);
        this->store.reopen();
        EXPECT_EQ(this->store.defaults().optionalBoolFor(defaults::kControlMac), read) << stored.typeName();
        EXPECT_EQ(this->store.defaults().boolFor(defaults::kControlMac), read.value_or(false));
    }
    this->store.defaults().setValue(defaults::kHostName.text(), 5);
    EXPECT_EQ(this->store.defaults().valueFor(defaults::kHostName), std::nullopt) << "a number is no name";
}

REGISTER_TYPED_TEST_SUITE_P(UserDefaultsContract, RegisteredValuesStandBehindTheUsers, ValuesKeepTheirTypes,
                            AbsenceIsToldApartFromFalse);

} // namespace merlode
