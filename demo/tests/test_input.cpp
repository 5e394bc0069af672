// Reading scripts and data files: what is accepted, and the message each mistake gets.
#include "dataset.h"
#include "harness.h"
#include "inputerror.h"
#include "script.h"

namespace {

// The message parsing throws, or "" when the script is accepted.
std::string scriptError(const std::string &text)
{
    try {
        Script::parse(text, "t.imp", ".");
    } catch (const InputError &error) {
        return error.what();
    }
    return {};
}

} // namespace

DEMO_TEST(script, readsEveryCommand)
{
    const Script s = Script::parse("#! preview\n"
                                   "# a comment; with: colons\n"
                                   "data: \"my data.dat\";   variables: y x1,x2 X3;\n"
                                   "Missing: -99;\n"
                                   "MODEL: y ~ x1 + x2, x3;  # trailing comment\n"
                                   "seed: 123; burn: 50; iterations: 70; chains: 3; nimps: 4;\n"
                                   "SAVE: imputations = imp*.dat estimates=est.csv;\n"
                                   "OPTIONS: PSR; PLOTS: traceplot; FIXED: x; SEED: 124;\n",
                                   "t.imp", ".");
    CHECK_EQ(s.dataFile, std::string("my data.dat"));
    CHECK_EQ(s.dataLine, 3);
    CHECK(s.variables == (std::vector<std::string> {"y", "x1", "x2", "X3"}));
    CHECK_EQ(s.missingCode, std::string("-99"));
    CHECK_EQ(s.outcome, std::string("y"));
    CHECK(s.predictors == (std::vector<std::string> {"x1", "x2", "x3"}));
    CHECK_EQ(s.modelLine, 5);
    CHECK_EQ(s.burn, 50);
    CHECK_EQ(s.iterations, 70);
    CHECK_EQ(s.chains, 3);
    CHECK_EQ(s.imputations, 4);
    CHECK_EQ(s.saveImputations, std::string("imp*.dat"));
    CHECK_EQ(s.saveEstimates, std::string("est.csv"));
    CHECK(s.options == std::vector<std::string> {"psr"});
    CHECK(s.plots == std::vector<std::string> {"traceplot"});
    // A command this engine does not know, and a repeated one, only warn; the last value wins.
    CHECK_EQ(s.seed, 124u);
    CHECK_EQ(s.warnings.size(), std::size_t(2));
    CHECK(s.warnings.size() == 2 && s.warnings[0].find("Line 8") != std::string::npos
          && s.warnings[0].find("FIXED") != std::string::npos
          && s.warnings[1].find("SEED") != std::string::npos);
}

DEMO_TEST(script, interceptOnlyModelAndDefaults)
{
    const Script s = Script::parse("DATA: d.dat; MODEL: y ~ 1;", "t.imp", ".");
    CHECK(s.predictors.empty());
    CHECK(!s.seedGiven);
}

// A script made from the new-script template keeps the commands nobody filled in.
DEMO_TEST(script, emptyCommandsAndUtf8Names)
{
    const Script s = Script::parse("DATA: d.dat;\nVARIABLES: größe x;\nMISSING: ;\nSEED: ;\n"
                                   "MODEL: größe ~ x;\nORDINAL: ;\n",
                                   "t.imp", ".");
    CHECK(s.variables == (std::vector<std::string> {"größe", "x"}));
    CHECK_EQ(s.outcome, std::string("größe"));
    CHECK(!s.hasMissingCode);
    CHECK(!s.seedGiven);
    CHECK(s.warnings.empty());
}

DEMO_TEST(script, mistakesNameProblemAndLine)
{
    for (const auto &c : harness::table("scriptmistakes.txt")) {
        harness::Row row(c[0]);
        const std::string message = scriptError(c[1]);
        CHECK_MSG(message.find(c[2]) != std::string::npos, message);
        CHECK_MSG(message.find("t.imp") != std::string::npos, message);
        CHECK_MSG(message.find(c[3]) != std::string::npos, message);
    }
}

DEMO_TEST(data, readsSeparatorsAndMissingCodes)
{
    const struct
    {
        const char *name;
        std::string text;
        std::string code;
        std::size_t missing; // cells expected missing
    } cases[] = {
        {"blanks and tabs", "1 2\t3\n4  5 6\n", "", 0},
        {"commas and CRLF", "1,2,3\r\n4, 5 ,6\r\n", "", 0},
        {"blank lines skipped", "\n1 2 3\n\n4 5 6\n\n", "", 0},
        {"numeric code matches numerically", "1 -99 3\n-99.0 5 6\n", "-99", 2},
        {"text code", "1 . 3\n4 5 .\n", ".", 2},
        {"semicolons, as the importer may pass them", "1;2;3\r\n4; NA ;6\r\n", "NA", 1},
    };
    for (const auto &c : cases) {
        harness::Row row(c.name);
        const DataSet data = DataSet::parse(c.text, "d.dat", c.code, 3);
        CHECK_EQ(data.rows(), std::size_t(2));
        std::size_t missing = 0;
        for (std::size_t i = 0; i < 6; ++i)
            missing += data.isMissing(i / 3, i % 3);
        CHECK_EQ(missing, c.missing);
    }
    // Columns from the first row; exponents and signs; the text kept as written.
    const DataSet data = DataSet::parse("1e3 +2 -3.5E-2\n", "d.dat", "", 0);
    CHECK_EQ(data.columns(), std::size_t(3));
    CHECK_EQ(data.value(0, 0), 1000.0);
    CHECK_EQ(data.value(0, 2), -0.035);
    CHECK_EQ(data.text(0, 1), std::string("+2"));
}
