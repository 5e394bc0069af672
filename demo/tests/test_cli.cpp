// The engine as the studio sees it: the command line, the report on standard output, the error
// messages and exit codes, and the files it leaves behind.
#include "enginerun.h"
#include "harness.h"
#include "simdata.h"
#include "text.h"

#include <algorithm>
#include <set>

namespace fs = std::filesystem;

namespace {

const std::string smallScript = "DATA: d.dat;\nVARIABLES: y x1 x2;\nMISSING: 999;\n"
                                "MODEL: y ~ x1 x2;\nSEED: 17;\nBURN: 100;\nITERATIONS: 200;\n";

// A folder holding d.dat (y, x1, x2 with some values missing) and the given script as s.imp.
void prepare(const harness::TempFolder &folder, const std::string &script)
{
    SimData::Settings settings;
    settings.rows = 120;
    settings.coefficients = {1.0, 0.5, -0.4};
    settings.outcomeMissing = 0.2;
    settings.predictorMissing = 0.2;
    SimData::make(settings).write(folder / "d.dat", "999");
    folder.write("s.imp", script);
}

std::set<std::string> listing(const fs::path &folder)
{
    std::set<std::string> names;
    for (const auto &entry : fs::recursive_directory_iterator(folder))
        names.insert(fs::relative(entry.path(), folder).string());
    return names;
}

// The studio's own reading of labels.dat for the record kinds this engine writes.
std::string studioLabel(const std::string &line)
{
    std::vector<std::string> fields;
    for (const auto &part : Text::tokens(line, "\""))
        if (part != " ")
            fields.push_back(part);
    if (fields.size() < 3)
        return "?";
    std::string label = Text::upper(fields[0]);
    const std::string &type = fields[1];
    const std::string &argument = fields[2];
    if (type == "Beta" && argument == "Intercept")
        return label + " intercept";
    if (type == "Beta")
        return label + " regressed on " + Text::upper(argument);
    if (type == "Standardized Beta")
        return label + " regressed on (standardized) " + Text::upper(argument);
    if (type == "R2")
        return label + ": Proportion of variance explained by " + argument;
    if (type.find("Level-") != std::string::npos && argument == "Residual Var.")
        return label + " " + Text::lower(type) + " residual variance";
    return label;
}

} // namespace

DEMO_TEST(cli, helpVersionAndUsageErrors)
{
    const auto help = EngineRun::run({"--help"});
    CHECK_EQ(help.exitCode, 0);
    CHECK(help.out.find("Usage: tovrel-demo") != std::string::npos);
    CHECK(help.out.find("--traceplot") != std::string::npos);

    const auto version = EngineRun::run({"--version"});
    CHECK_EQ(version.exitCode, 0);
    CHECK(version.out.rfind("tovrel-demo ", 0) == 0);

    struct Case
    {
        const char *name;
        std::vector<std::string> arguments;
        const char *fragment;
    };
    const Case cases[] = {
        {"unknown option", {"--frobnicate", "s.imp"}, "unknown option \"--frobnicate\""},
        {"no script", {"--output", "x.out"}, "no script given"},
        {"two scripts", {"a.imp", "b.imp"}, "only one script"},
        {"output without value", {"s.imp", "--output"}, "--output needs a value"},
        {"bad thread count", {"--threads", "0", "s.imp"}, "--threads needs"},
    };
    for (const auto &c : cases) {
        harness::Row row(c.name);
        const auto result = EngineRun::run(c.arguments);
        CHECK_EQ(result.exitCode, 2);
        CHECK(result.out.empty());
        CHECK_MSG(result.err.rfind("ERROR: ", 0) == 0, result.err);
        CHECK_MSG(result.err.find(c.fragment) != std::string::npos, result.err);
        CHECK(result.err.find("Usage: tovrel-demo") != std::string::npos);
    }
}

DEMO_TEST(cli, missingScriptFile)
{
    harness::TempFolder folder;
    const auto result = EngineRun::run({(folder / "absent.imp").string()});
    CHECK_EQ(result.exitCode, 1);
    CHECK(result.err.find("ERROR: script") != std::string::npos);
    CHECK(result.err.find("cannot open") != std::string::npos);
}

DEMO_TEST(errors, malformedInputStopsBeforeWritingAnything)
{
    struct Case
    {
        const char *name;
        std::string script;
        std::string data; // replaces the simulated d.dat when not empty
        const char *fragment;
        const char *line;
    };
    const std::string model = "MODEL: y ~ x1 x2;\n";
    const Case cases[] = {
        {"no DATA", "VARIABLES: y x1 x2;\n" + model, "", "no DATA command", ""},
        {"unreadable data file", "DATA: nowhere.dat;\nVARIABLES: y x1 x2;\n" + model, "",
         "cannot open", "DATA on line 1"},
        {"wrong number of values", "DATA: d.dat;\nVARIABLES: y x1 x2;\n" + model,
         "1 2 3\n4 5 6\n7 8\n9 1 2\n", "expected 3 values but found 2", "line 3"},
        {"unknown variable", "DATA: d.dat;\nVARIABLES: y x1 x2;\n\nMODEL: y ~ x1 z;\n", "",
         "\"z\", which is not among the variables", "line 4"},
        {"non-numeric value", "DATA: d.dat;\nVARIABLES: y x1 x2;\n" + model,
         "1 2 3\n4 5 6\n7 x 8\n9 1 2\n", "\"x\" is not a number", "line 3"},
        {"no usable rows", "DATA: d.dat;\nVARIABLES: y x1 x2;\nMISSING: 999;\n" + model,
         "999 1 2\n999 3 4\n999 5 7\n", "no usable rows", "line 1"},
        {"constant predictor", "DATA: d.dat;\nVARIABLES: y x1 x2;\n" + model,
         "1 5 2\n2 5 3\n3 5 1\n4 5 9\n", "\"x1\" takes the same value", "line 1"},
        {"missing semicolon", "DATA: d.dat\nVARIABLES: y x1 x2;\n" + model, "",
         "is a \";\" missing", "line 2"},
        {"output folder missing", "DATA: d.dat;\nVARIABLES: y x1 x2;\nMISSING: 999;\n" + model, "",
         "does not exist", ""},
    };
    for (const auto &c : cases) {
        harness::Row row(c.name);
        harness::TempFolder folder;
        prepare(folder, c.script);
        if (!c.data.empty())
            folder.write("d.dat", c.data);
        const auto before = listing(folder.path());
        const std::string output = std::string(c.name) == "output folder missing"
            ? (folder / "gone" / "s.tovrel-out").string()
            : (folder / "s.tovrel-out").string();
        const auto result = EngineRun::run({(folder / "s.imp").string(), "--output", output,
                                            "--traceplot", (folder / "trace").string()});
        CHECK_EQ(result.exitCode, 1);
        CHECK_MSG(result.out.empty(), result.out);
        CHECK_MSG(result.err.rfind("ERROR: ", 0) == 0, result.err);
        CHECK_MSG(result.err.find(c.fragment) != std::string::npos, result.err);
        CHECK_MSG(result.err.find(c.line) != std::string::npos, result.err);
        CHECK(listing(folder.path()) == before);
    }
}

DEMO_TEST(errors, failureDuringSamplingLeavesNoFiles)
{
    // x2 is exactly twice x1: the report has started when the sampler finds out.
    harness::TempFolder folder;
    std::string data;
    for (int i = 0; i < 30; ++i)
        data += Text::format("%d %d %d\n", (i * 7) % 11, i, 2 * i);
    folder.write("d.dat", data);
    folder.write("s.imp", "DATA: d.dat;\nVARIABLES: y x1 x2;\nMODEL: y ~ x1 x2;\n");
    const auto result = EngineRun::run({(folder / "s.imp").string(), "--output",
                                        (folder / "s.tovrel-out").string(), "--traceplot",
                                        (folder / "trace").string()});
    CHECK_EQ(result.exitCode, 1);
    CHECK(result.out.find("ALGORITHMIC OPTIONS SPECIFIED") != std::string::npos);
    CHECK_MSG(result.err.find("ERROR: chain 1 stopped at iteration 1: the predictors are "
                              "linearly dependent")
                  != std::string::npos,
              result.err);
    CHECK(!fs::exists(folder / "s.tovrel-out"));
    CHECK(fs::is_empty(folder / "trace"));
}

DEMO_TEST(files, reportOutputFileAndTraceFiles)
{
    harness::TempFolder folder;
    prepare(folder, "#! stable\n" + smallScript + "PLOTS: traceplot;\nCHAINS: 3;\n");
    const fs::path output = folder / "s.tovrel-out";
    const fs::path trace = folder / "new" / "trace";
    const auto result = EngineRun::run({"--threads", "2", (folder / "s.imp").string(), "--output",
                                        output.string(), "--traceplot", trace.string()});
    CHECK_EQ(result.exitCode, 0);
    CHECK_MSG(result.err.empty(), result.err);

    const std::string &out = result.out;
    const std::vector<std::string> order {std::string(75, '-'),
                                          std::string(67, '-'),
                                          "ALGORITHMIC OPTIONS SPECIFIED",
                                          "DATA INFORMATION",
                                          "MODEL INFORMATION",
                                          "ITERATION HISTORY",
                                          "BURN-IN POTENTIAL SCALE REDUCTION (PSR) OUTPUT",
                                          "OUTCOME MODEL ESTIMATES",
                                          "Outcome Variable:  y",
                                          "Median",
                                          "N_Eff",
                                          "R2"};
    std::size_t at = 0;
    for (const auto &text : order) {
        harness::Row row(text);
        const std::size_t found = out.find(text, at);
        CHECK(found != std::string::npos);
        at = found == std::string::npos ? at : found;
    }
    // One PSR line per checkpoint, the last at the end of the burn-in.
    const auto all = harness::lines(out);
    std::size_t checkpointLines = 0;
    std::string lastCheckpoint;
    for (const auto &line : all)
        if (line.find(" to ") != std::string::npos
            && line.find("Iterations") == std::string::npos) {
            ++checkpointLines;
            lastCheckpoint = line;
        }
    CHECK(checkpointLines >= 15);
    CHECK_MSG(lastCheckpoint.find("51 to 100") != std::string::npos, lastCheckpoint);

    // The output file is the report without the iteration history.
    const std::string file = harness::readFile(output);
    const std::size_t historyStart = out.find("ITERATION HISTORY");
    const std::size_t historyEnd = out.find("OUTCOME MODEL ESTIMATES");
    CHECK_EQ(file, out.substr(0, historyStart) + out.substr(historyEnd));

    const std::size_t parameters = 7; // intercept, 2 slopes, variance, 2 standardized, R2
    for (int chain = 1; chain <= 3; ++chain) {
        harness::Row row("chain " + std::to_string(chain));
        const auto rows
            = harness::lines(harness::readFile(trace / ("burn" + std::to_string(chain) + ".csv")));
        CHECK_EQ(rows.size(), std::size_t(300));
        for (std::size_t i = 0; i < rows.size(); ++i) {
            const auto fields = Text::tokens(rows[i], ",");
            CHECK_EQ(fields.size(), parameters + 1);
            CHECK_EQ(fields[0], std::to_string(i + 1));
            double value = 0.0;
            for (const auto &field : fields)
                CHECK(Text::parseNumber(field, value));
            if (fields.size() != parameters + 1)
                break;
        }
    }
    CHECK(!fs::exists(trace / "burn4.csv"));

    const auto labels = harness::lines(harness::readFile(trace / "labels.dat"));
    const std::vector<std::string> expected {"Y intercept",
                                             "Y regressed on X1",
                                             "Y regressed on X2",
                                             "Y level-1 residual variance",
                                             "Y regressed on (standardized) X1",
                                             "Y regressed on (standardized) X2",
                                             "Y: Proportion of variance explained by Predictors"};
    CHECK_EQ(labels.size(), expected.size() + 1);
    for (std::size_t i = 0; i + 1 < labels.size() && i < expected.size(); ++i)
        CHECK_EQ(studioLabel(labels[i + 1]), expected[i]);

    // No temporary files are left beside the results.
    for (const auto &name : listing(folder.path()))
        CHECK_MSG(name.find(".partial") == std::string::npos, name);
}

DEMO_TEST(files, savedEstimatesAndImputations)
{
    harness::TempFolder folder;
    prepare(folder,
            smallScript + "NIMPS: 5;\nSAVE: imputations = imp*.dat; SAVE: estimates = est.csv;\n");
    // A column outside the model keeps its values, missing codes included.
    std::string data;
    int row = 0;
    for (const auto &line : harness::lines(harness::readFile(folder / "d.dat")))
        data += line + (++row % 3 == 0 ? " 999\n" : " 7\n");
    folder.write("d.dat", data);
    std::string script = harness::readFile(folder / "s.imp");
    script.replace(script.find("y x1 x2;"), 8, "y x1 x2 extra;");
    folder.write("s.imp", script);

    const auto result = EngineRun::run({(folder / "s.imp").string()});
    CHECK_EQ(result.exitCode, 0);
    CHECK_MSG(result.err.empty(), result.err);

    const auto estimates = EngineRun::estimates(folder / "est.csv");
    CHECK_EQ(estimates.size(), std::size_t(7));
    CHECK(EngineRun::find(estimates, "Beta", "x2") != nullptr);
    CHECK(EngineRun::find(estimates, "Level-1", "Residual Var.") != nullptr);

    const auto original = harness::lines(data);
    for (int k = 1; k <= 5; ++k) {
        harness::Row row("imputation " + std::to_string(k));
        const auto imputed
            = harness::lines(harness::readFile(folder / ("imp" + std::to_string(k) + ".dat")));
        CHECK_EQ(imputed.size(), original.size());
        for (std::size_t r = 0; r < imputed.size() && r < original.size(); ++r) {
            const auto before = Text::tokens(original[r], " ");
            const auto after = Text::tokens(imputed[r], " ");
            CHECK_EQ(after.size(), std::size_t(4));
            if (after.size() != 4)
                break;
            for (std::size_t c = 0; c < 3; ++c) {
                if (before[c] != "999")
                    CHECK_EQ(after[c], before[c]);
                CHECK(after[c] != "999");
            }
            CHECK_EQ(after[3], before[3]);
        }
    }
    CHECK(!fs::exists(folder / "imp6.dat"));
    CHECK(harness::readFile(folder / "imp1.dat") != harness::readFile(folder / "imp2.dat"));
}

DEMO_TEST(reproducible, sameSeedSameBytesWhateverTheThreads)
{
    harness::TempFolder folder;
    prepare(folder, smallScript + "CHAINS: 3;\nNIMPS: 3;\nSAVE: imputations = imp*.dat;\n");
    struct Run
    {
        std::string out;
        std::string output;
        std::string trace;
        std::string imputation;
    };
    auto runWith = [&](const std::string &threads, const std::string &tag) {
        const auto result = EngineRun::run({"--threads", threads, (folder / "s.imp").string(),
                                            "--output", (folder / (tag + ".out")).string(),
                                            "--traceplot", (folder / tag).string()});
        CHECK_EQ(result.exitCode, 0);
        return Run {result.out, harness::readFile(folder / (tag + ".out")),
                    harness::readFile(folder / tag / "burn3.csv"),
                    harness::readFile(folder / "imp3.dat")};
    };
    const Run one = runWith("1", "a");
    const Run three = runWith("3", "b");
    CHECK(!one.trace.empty());
    CHECK(one.out == three.out);
    CHECK(one.output == three.output);
    CHECK(one.trace == three.trace);
    CHECK(one.imputation == three.imputation);

    std::string script = harness::readFile(folder / "s.imp");
    script.replace(script.find("SEED: 17"), 8, "SEED: 18");
    folder.write("s.imp", script);
    const Run other = runWith("2", "c");
    CHECK(other.trace != one.trace);
    CHECK(other.imputation != one.imputation);
}
