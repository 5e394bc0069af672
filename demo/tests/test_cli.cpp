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
    for (const auto &c : harness::table("commandline.txt")) {
        harness::Row row(c[0]);
        const auto result = EngineRun::run(harness::words(c[1]));
        const int exitCode = std::stoi(c[2]);
        CHECK_EQ(result.exitCode, exitCode);
        const std::string &text = exitCode == 0 ? result.out : result.err;
        CHECK_MSG(text.rfind(c[3], 0) == 0, text);
        CHECK(exitCode == 0 || result.out.empty());
        CHECK(exitCode != 2 || result.err.find("Usage: tovrel-demo") != std::string::npos);
    }
}

DEMO_TEST(errors, badInputStopsWithoutWritingAFile)
{
    for (const auto &c : harness::table("badinput.txt")) {
        harness::Row row(c[0]);
        harness::TempFolder folder;
        prepare(folder, c[1]);
        if (!c[2].empty())
            folder.write("d.dat", c[2]);
        const auto before = listing(folder.path());
        const auto result = runAsStudio("1", folder / "s.imp", folder / c[4], folder / "trace");
        CHECK_EQ(result.exitCode, 1);
        CHECK_MSG(result.err.rfind("ERROR: ", 0) == 0 && result.err.find(c[3]) != std::string::npos,
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
