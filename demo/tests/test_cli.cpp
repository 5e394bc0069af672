// The engine as the studio sees it: the command line, the messages and exit codes, and the files
// it leaves behind.
#include "enginerun.h"
#include "harness.h"
#include "text.h"

#include <set>

namespace fs = std::filesystem;

namespace {

const fs::path sample = TOVREL_DEMO_SAMPLE;

// The sample's data (y, x1 and x2, many values missing) as d.dat, and the script as s.imp.
void prepare(const harness::TempFolder &folder, const std::string &script)
{
    fs::copy(sample / "slow.dat", folder / "d.dat");
    folder.write("s.imp", script);
}
// Runs the script as the studio does: the user's options, the script, --output and --traceplot.
EngineRun::Result runAsStudio(const std::string &threads, const fs::path &script,
                              const fs::path &output, const fs::path &trace)
{
    return EngineRun::run({"--threads", threads, script.string(), "--output", output.string(),
                           "--traceplot", trace.string()});
}

// The files under the folder, by their relative names.
std::set<std::string> listing(const fs::path &folder)
{
    std::set<std::string> names;
    for (const auto &entry : fs::recursive_directory_iterator(folder))
        if (entry.is_regular_file())
            names.insert(fs::relative(entry.path(), folder).string());
    return names;
}

// The report's header names the release; a new release needs no new sample.
std::string withoutVersionLine(std::string text)
{
    const std::size_t at = text.find("version ");
    if (at == std::string::npos)
        return text;
    const std::size_t start = text.rfind('\n', at) + 1;
    return text.erase(start, text.find('\n', at) - start);
}

} // namespace

DEMO_TEST(cli, helpVersionAndUsageErrors)
{
    const struct
    {
        const char *name;
        std::vector<std::string> arguments;
        int exitCode;
        const char *start; // of standard output, or of the error
    } cases[] = {
        {"help", {"--help"}, 0, "Usage: tovrel-demo [OPTIONS] SCRIPT [--output FILE]"},
        {"version", {"--version"}, 0, "tovrel-demo "},
        {"unknown option", {"--frobnicate", "s.imp"}, 2, "ERROR: unknown option \"--frobnicate\""},
        {"no script", {"--output", "x.out"}, 2, "ERROR: no script given"},
        {"two scripts", {"a.imp", "b.imp"}, 2, "ERROR: only one script"},
        {"output without value", {"s.imp", "--output"}, 2, "ERROR: --output needs a value"},
        {"bad thread count", {"--threads", "0", "s.imp"}, 2, "ERROR: --threads needs"},
        {"no such script", {"/none/s.imp"}, 1, "ERROR: script '/none/s.imp': cannot open"},
    };
    for (const auto &c : cases) {
        harness::Row row(c.name);
        const auto result = EngineRun::run(c.arguments);
        CHECK_EQ(result.exitCode, c.exitCode);
        const std::string &text = c.exitCode == 0 ? result.out : result.err;
        CHECK_MSG(text.rfind(c.start, 0) == 0, text);
        CHECK(c.exitCode == 0 || result.out.empty());
        CHECK(c.exitCode != 2 || result.err.find("Usage: tovrel-demo") != std::string::npos);
    }
}

DEMO_TEST(errors, badInputStopsWithoutWritingAFile)
{
    const std::string head = "DATA: d.dat;\nVARIABLES: y x1 x2;\nMISSING: 999;\n";
    const std::string model = "MODEL: y ~ x1 x2;\n";
    const struct
    {
        const char *name;
        std::string script;
        std::string data; // replaces the simulated d.dat when not empty
        const char *message; // the problem, after the line it is on
        const char *output = "s.out";
    } cases[] = {
        {"no DATA", "VARIABLES: y x1 x2;\n" + model, "", "there is no DATA command"},
        {"unreadable data file", "DATA: none.dat;\n" + model, "", "for reading. (DATA on line 1"},
        {"wrong number of values", head + model, "1 2 3\n7 8\n",
         "line 2: expected 3 values but found 2"},
        {"unknown variable", head + "\nMODEL: y ~ x1 z;\n", "",
         "line 5: MODEL names the variable \"z\", which is not among"},
        {"non-numeric value", head + model, "1 2 3\n4 5 6\n7 x 8\n",
         "line 3: \"x\" is not a number"},
        {"no usable rows", head + model, "999 1 2\n999 3 4\n999 5 7\n", "line 1: no usable rows"},
        {"constant predictor", head + model, "1 5 2\n2 5 3\n3 5 1\n",
         "line 1: data file 'd.dat': the variable \"x1\" takes the same value"},
        {"non-finite value", head + model, "1 2 3\n4 nan 6\n", "line 2: \"nan\" is not a number"},
        {"empty data file", head + model, "\n  \n", "the file holds no rows"},
        {"output folder missing", head + model, "", "does not exist", "gone/s.out"},
        // x2 is twice x1: the report has started when the sampler finds out.
        {"dependent predictors", head + model, "3 1 2\n5 2 4\n2 3 6\n8 4 8\n5 5 10\n",
         "chain 1 stopped at iteration 1: the predictors are linearly dependent"},
    };
    for (const auto &c : cases) {
        harness::Row row(c.name);
        harness::TempFolder folder;
        prepare(folder, c.script);
        if (!c.data.empty())
            folder.write("d.dat", c.data);
        const auto before = listing(folder.path());
        const auto result = runAsStudio("1", folder / "s.imp", folder / c.output, folder / "trace");
        CHECK_EQ(result.exitCode, 1);
        CHECK_MSG(result.err.rfind("ERROR: ", 0) == 0
                      && result.err.find(c.message) != std::string::npos,
                  result.err);
        CHECK(listing(folder.path()) == before);
    }
}

DEMO_TEST(files, sampleRunReproducesByteForByte)
{
    // The report, the output file (the report without its iteration history), one trace file
    // per chain and labels.dat, whatever the number of threads, and nothing else.
    const std::vector<std::string> written {"slow_convergence.tovrel-out", "trace/burn1.csv",
                                            "trace/burn2.csv", "trace/labels.dat"};
    for (const char *threads : {"1", "2"}) {
        harness::Row row(std::string("threads ") + threads);
        harness::TempFolder folder;
        for (const char *input : {"slow.dat", "slow_convergence.imp"})
            fs::copy(sample / input, folder / input);
        const auto result = runAsStudio(threads, folder / "slow_convergence.imp",
                                        folder / written[0], folder / "trace");
        CHECK_EQ(result.exitCode, 0);
        CHECK_MSG(result.err.empty(), result.err);
        CHECK(withoutVersionLine(result.out)
              == withoutVersionLine(harness::readFile(sample / "standard-output.txt")));
        for (const auto &name : written)
            CHECK_MSG(withoutVersionLine(harness::readFile(folder / name))
                          == withoutVersionLine(harness::readFile(sample / name)),
                      name);
        CHECK_EQ(listing(folder.path()).size(), written.size() + 2); // and the two inputs
    }
}

DEMO_TEST(files, savedEstimatesAndImputations)
{
    harness::TempFolder folder;
    prepare(folder,
            "DATA: d.dat;\nVARIABLES: y x1 x2 extra;\nMISSING: 999;\nMODEL: y ~ x1 x2;\n"
            "BURN: 100;\nITERATIONS: 200;\nCHAINS: 3;\nNIMPS: 5;\n"
            "SAVE: imputations = imp*.dat; SAVE: estimates = est.csv;\n");
    // A column outside the model keeps its values, missing codes included.
    std::string data;
    const auto original = harness::lines(harness::readFile(folder / "d.dat"));
    for (std::size_t r = 0; r < original.size(); ++r)
        data += original[r] + (r % 3 == 0 ? " 999\n" : " 7\n");
    folder.write("d.dat", data);

    std::string previous;
    for (const char *threads : {"3", "1"}) {
        harness::Row row(std::string("threads ") + threads);
        const auto result = EngineRun::run({"--threads", threads, (folder / "s.imp").string()});
        CHECK_EQ(result.exitCode, 0);
        CHECK_MSG(result.err.empty(), result.err);
        std::string saved = harness::readFile(folder / "est.csv");
        for (int k = 1; k <= 5; ++k)
            saved += harness::readFile(folder / ("imp" + std::to_string(k) + ".dat"));
        CHECK(previous.empty() || saved == previous);
        previous = saved;
    }
    CHECK_EQ(EngineRun::estimates(folder / "est.csv").size(), std::size_t(7));
    CHECK(!fs::exists(folder / "imp6.dat"));
    CHECK(harness::readFile(folder / "imp1.dat") != harness::readFile(folder / "imp2.dat"));
    const auto before = harness::lines(data),
               after = harness::lines(harness::readFile(folder / "imp5.dat"));
    CHECK_EQ(after.size(), before.size());
    for (std::size_t r = 0; r < after.size() && r < before.size(); ++r) {
        const auto observed = Text::tokens(before[r], " "), imputed = Text::tokens(after[r], " ");
        CHECK_EQ(imputed.size(), std::size_t(4));
        // Missing values of the model's variables are filled in; all else is kept as written.
        for (std::size_t c = 0; c < imputed.size() && c < 4; ++c)
            CHECK_MSG(c < 3 && observed[c] == "999" ? imputed[c] != "999"
                                                    : imputed[c] == observed[c],
                      after[r]);
    }
}
