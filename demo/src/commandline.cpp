#include "commandline.h"

#include "text.h"

namespace {

CommandLine failed(const std::string &error)
{
    CommandLine result;
    result.action = CommandLine::Action::UsageError;
    result.error = error;
    return result;
}

} // namespace

CommandLine CommandLine::parse(const std::vector<std::string> &arguments)
{
    CommandLine result;
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        std::string argument = arguments[i];
        std::string attached;
        bool hasAttached = false;
        if (argument.compare(0, 2, "--") == 0 && argument.find('=') != std::string::npos) {
            attached = argument.substr(argument.find('=') + 1);
            argument = argument.substr(0, argument.find('='));
            hasAttached = true;
        }
        auto value = [&](std::string &target) {
            if (hasAttached) {
                target = attached;
            } else if (i + 1 < arguments.size()) {
                target = arguments[++i];
            } else {
                return false;
            }
            return !target.empty();
        };
        if (argument == "--help" || argument == "-h") {
            result.action = Action::Help;
            return result;
        }
        if (argument == "--version") {
            result.action = Action::Version;
            return result;
        }
        if (argument == "--output" || argument == "--traceplot") {
            std::string &target = argument == "--output" ? result.output : result.traceDirectory;
            if (!value(target))
                return failed(argument + " needs a value.");
        } else if (argument == "--threads") {
            std::string text;
            long long threads = 0;
            if (!value(text) || !Text::parseInteger(text, threads) || threads < 1 || threads > 256)
                return failed("--threads needs a number from 1 to 256.");
            result.threads = static_cast<unsigned>(threads);
        } else if (argument.size() > 1 && argument[0] == '-') {
            return failed("unknown option \"" + arguments[i] + "\".");
        } else if (!result.script.empty()) {
            return failed("only one script can be run at a time (got \"" + result.script
                          + "\" and \"" + argument + "\").");
        } else {
            result.script = argument;
        }
    }
    if (result.script.empty())
        return failed("no script given.");
    result.action = Action::Run;
    return result;
}

std::string CommandLine::usage()
{
    return "Usage: tovrel-demo [OPTIONS] SCRIPT [--output FILE] [--traceplot DIR]\n"
           "\n"
           "Fits the Bayesian linear regression that SCRIPT describes with a Gibbs sampler and\n"
           "reports the iteration history, convergence diagnostics and estimates.\n"
           "\n"
           "  --output FILE     also write the final report to FILE\n"
           "  --traceplot DIR   write every chain's draws (burn1.csv, burn2.csv, ...) and\n"
           "                    labels.dat into DIR\n"
           "  --threads N       run at most N chains at the same time (default: one per core)\n"
           "  --help            show this help and exit\n"
           "  --version         show the version and exit\n";
}
