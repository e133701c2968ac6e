// The decisions of the director as functions on values.

#include "director/ChildProcess.h"
#include "director/ProofDirector_p.h"

#include <gtest/gtest.h>

using mechanism::trust_t;

namespace
{

QStringList words(const char* text)
{
    const QString all = QString::fromUtf8(text);
    return all.isEmpty() ? QStringList() : all.split(QLatin1Char(' '));
}

TEST(Decisions, TrustDecidesWhatAResultIsWorth)
{
    struct Row {
        pos::status_t old;
        const char* word;
        trust_t trust;
        bool last;
        pos::status_t status; // expected, as are those below
        bool setsMechanism;
        const char* drivers; // of "A D B", after a result of D
    };
    const trust_t never = trust_t::never;
    const trust_t twice = trust_t::redundancy;
    const trust_t always = trust_t::always;
    const Row rows[] = {
        {pos::UNPROVED, "Disproved", never, false, pos::DISPROVED, true, ""},
        {pos::DISPROVED, "Disproved", twice, true, pos::DISPROVED, false, ""},
        {pos::UNPROVED, "Proved", never, true, pos::UNRELIABLY_PROVED, true, ""},
        {pos::UNRELIABLY_PROVED, "Proved", never, true, pos::UNRELIABLY_PROVED, false, ""},
        {pos::UNPROVED, "Proved", always, false, pos::PROVED, true, ""},
        {pos::PROVED, "Proved", always, false, pos::PROVED, false, ""},
        {pos::UNPROVED, "Proved", twice, false, pos::UNRELIABLY_PROVED, true, "A B"},
        {pos::UNKNOWN, "Proved", twice, true, pos::UNRELIABLY_PROVED, true, "A B"},
        {pos::UNRELIABLY_PROVED, "Proved", twice, true, pos::PROVED, true, ""},
        {pos::PROVED, "Proved", twice, true, pos::UNRELIABLY_PROVED, true, "A B"},
        {pos::UNPROVED, "Unknown", always, false, pos::UNPROVED, false, "A B"},
        {pos::UNRELIABLY_PROVED, "Unknown", twice, false, pos::UNRELIABLY_PROVED, false, "A B"},
        {pos::UNRELIABLY_PROVED, "Unknown", twice, true, pos::UNKNOWN, true, "A B"},
        {pos::UNKNOWN, "Unknown", always, true, pos::UNKNOWN, false, "A B"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(testing::Message() << row.word << " after " << row.old << " with trust "
                                        << static_cast<int>(row.trust) << " last " << row.last);
        const QString word = QString::fromUtf8(row.word);
        EXPECT_EQ(statusAfter(row.old, word, row.trust, row.last), row.status);
        EXPECT_EQ(setsMechanismStatus(row.old, row.status, word, row.trust, row.last),
                  row.setsMechanism);
        EXPECT_EQ(driversAfter(words("A D B"), QStringLiteral("D"), row.old, word, row.trust),
                  words(row.drivers));
    }
}

TEST(Decisions, OnlyWholeWordsOfAReaderCount)
{
    const std::vector<QByteArray> lines =
        resultLines("\n \nProved\n\nUnknown\r\nDisproved\nproved\n Proved\nDisproved  \n\n");
    ASSERT_EQ(lines.size(), 7U);
    const char* const expected[] = {"Proved", "", "", "Disproved", "", "", "Disproved"};
    for (std::size_t i = 0; i < lines.size(); ++i) {
        EXPECT_EQ(resultWord(lines[i]).toStdString(), expected[i]) << i;
    }
    EXPECT_EQ(resultWord(QByteArray("Proved\0junk", 11)), QStringLiteral("Proved"));
    EXPECT_EQ(resultLines(" \n").size(), 1U);
}

TEST(Decisions, ParametersBecomeArgumentsUnderTwoRules)
{
    const QString null;
    const QString none = QStringLiteral("");
    const QString file = QStringLiteral("${file}");
    struct Row {
        const char* label;
        mechanism::param_t param;
        QStringList prover;
        QStringList writer;
    };
    const auto text = [](const char* t) {
        return QString::fromUtf8(t);
    };
    const Row rows[] = {
        {"joined", {text("-o"), text("="), file}, {text("-o=/f")}, {text("-o=${file}")}},
        {"blank", {text("-o"), text(" "), file}, {text("-o"), text("/f")}, {text("-o"), file}},
        {"no separator", {text("-o"), none, text("x")}, {text("-o"), text("x")}, {text("-ox")}},
        {"two blanks",
         {text("-o"), text("  "), text("x")},
         {text("-o"), text("x")},
         {text("-o  x")}},
        {"padded separator", {text("a"), text(" = "), text("b")}, {text("a = b")}, {text("a = b")}},
        {"empty name", {none, text("="), text("x")}, {text("=x")}, {text("x")}},
        {"empty name, blank", {none, text(" "), text("x")}, {none, text("x")}, {text("x")}},
        {"name only", {text("-q"), text(" "), null}, {text("-q")}, {text("-q")}},
        {"value only", {null, text("="), text("x")}, {text("x")}, {text("x")}},
        {"empty value", {text("-q"), text("="), none}, {text("-q=")}, {text("-q")}},
        {"nothing", {null, text(" "), null}, {}, {null}},
        {"placeholders",
         {text("%3${file}%1"), text("${file}"), text("%2${file}${FILE}")},
         {text("%3/f%1${file}%2/f${FILE}")},
         {text("%3${file}%1${file}%2${file}${FILE}")}},
    };
    for (const Row& row : rows) {
        QStringList args;
        append_param(row.param, args, QStringLiteral("/f"));
        EXPECT_EQ(args, row.prover) << row.label;
        mechanism::tool_t tool;
        tool.parameters = {row.param};
        args.clear();
        addParametersBits(args, tool);
        EXPECT_EQ(args, row.writer) << row.label;
    }
}

TEST(Decisions, AProgramIsNeverLookedUpAlongThePath)
{
    const char* const rows[][2] = {{"\"/my tools/p\"", "/my tools/p"},
                                   {"cat", "./cat"},
                                   {"\"my prover\"", "./my prover"},
                                   {"tools/p", "tools/p"},
                                   {"\"", "./\""}};
    for (const auto& [path, program] : rows) {
        EXPECT_EQ(programOfPath(QString::fromUtf8(path)).toStdString(), program);
    }
}

} // namespace
