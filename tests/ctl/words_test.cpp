#include "ctl/format_template.h"
#include "ctl/words.h"

#include <QFile>
#include <QRegularExpression>
#include <QSet>

#include <gtest/gtest.h>

using namespace merlode::ctl;

namespace {

using Names = QSet<QString>;

/// The words in the first groups of all matches in a file of the source tree.
Names found(const char* path, const char* pattern) {
    QFile file(QStringLiteral(MERLODE_SOURCE_DIR "/") + QLatin1String(path));
    EXPECT_TRUE(file.open(QIODevice::ReadOnly)) << path;
    Names names;
    const QRegularExpression expression(QString::fromLatin1(pattern), QRegularExpression::MultilineOption);
    for (auto match = expression.globalMatch(QString::fromUtf8(file.readAll())); match.hasNext();) {
        for (const auto& name : match.next().captured(1).split(u' '))
            names << name;
    }
    return names;
}

} // namespace

TEST(Words, ManualAndCompletionNameTheSame) {
    Names wordNames;
    for (const auto& entry : words())
        wordNames << entry.name;
    const auto fields = FormatTemplate::fieldNames();
    const Names fieldNames(fields.begin(), fields.end());

    const auto* manual = "docs/man/merlodectl.1";
    EXPECT_EQ(found(manual, R"(^\.It Ic ([a-z-]+))"), wordNames);
    EXPECT_EQ(found(manual, R"(^\.It Brq ([a-zA-Z]+))"), fieldNames);
    const auto* completion = "resources/completion/merlodectl";
    EXPECT_EQ(found(completion, R"rx(local words="([^"]*)")rx"), wordNames);
    EXPECT_EQ(found(completion, R"rx(local fields="([^"]*)")rx"), fieldNames);
}
