#include "ctl/format_template.h"
#include "ctl/words.h"

#include <QFile>
#include <QRegularExpression>
#include <QSet>

#include <gtest/gtest.h>

using namespace merlode::ctl;

namespace {

using Names = QSet<QString>;

QString contents(const char* path) {
    QFile file(QStringLiteral(MERLODE_SOURCE_DIR "/") + QLatin1String(path));
    EXPECT_TRUE(file.open(QIODevice::ReadOnly)) << path;
    return QString::fromUtf8(file.readAll());
}

/// The first groups of all matches.
Names matches(const QString& text, const char* pattern) {
    Names names;
    const QRegularExpression expression(QString::fromLatin1(pattern), QRegularExpression::MultilineOption);
    for (auto found = expression.globalMatch(text); found.hasNext();)
        names << found.next().captured(1);
    return names;
}

/// The words of the quoted list that the completion assigns to a variable.
Names completed(const QString& script, const char* variable) {
    const QRegularExpression expression(QStringLiteral("local %1=\"([^\"]*)\"").arg(QLatin1String(variable)));
    const auto names = expression.match(script).captured(1).split(u' ');
    return {names.begin(), names.end()};
}

template<class Entries>
Names namesOf(const Entries& entries) {
    Names names;
    for (const auto& entry : entries)
        names << QString(entry.name);
    return names;
}

Names fieldNames() {
    const auto names = FormatTemplate::fieldNames();
    return {names.begin(), names.end()};
}

} // namespace

TEST(Words, ManualCompletionAndHelpNameTheSame) {
    const auto page = contents("docs/man/merlodectl.1");
    EXPECT_EQ(matches(page, R"(^\.It Ic ([a-z-]+))"), namesOf(words()));
    EXPECT_EQ(matches(page, R"(^\.It Brq ([a-z]+))"), fieldNames());
    Names dashed;
    for (const auto& name : matches(page, R"(^\.It Fl Fl ([a-z]+))"))
        dashed << QStringLiteral("--") + name;
    EXPECT_EQ(dashed, namesOf(options()));

    const auto completion = contents("resources/completion/merlodectl");
    EXPECT_EQ(completed(completion, "words"), namesOf(words()));
    EXPECT_EQ(completed(completion, "options"), namesOf(options()));
    EXPECT_EQ(completed(completion, "fields"), fieldNames());
    Names roleNames;
    for (const auto role : roles())
        roleNames << QString(role);
    EXPECT_EQ(completed(completion, "roles"), roleNames);
    EXPECT_EQ(matches(page, R"(^\.Cm (local|spotify|rdio)\b)"), roleNames);

    EXPECT_EQ(matches(helpText({}), R"(^  ([a-z-]+) )") - namesOf(options()), namesOf(words()));
}

TEST(Words, EveryPlainWordHasAMethodAndEveryHelpItsSynopsis) {
    for (const auto& entry : words()) {
        const auto help = helpText(entry.word);
        EXPECT_TRUE(help.contains(QStringLiteral("merlodectl ") + synopsis(entry))) << help.toStdString();
        for (const auto& line : help.split(u'\n'))
            EXPECT_LE(line.size(), 100) << line.toStdString();
    }
}
