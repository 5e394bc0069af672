#include "script.h"

#include "inputerror.h"
#include "text.h"

#include <algorithm>
#include <fstream>
#include <set>
#include <sstream>

namespace {

// Replaces comments by blanks but keeps the line breaks, so line numbers stay right.
std::string withoutComments(const std::string &text)
{
    std::string result = text;
    bool inComment = false;
    for (std::size_t i = 0; i < result.size(); ++i) {
        if (result[i] == '\n') {
            inComment = false;
            continue;
        }
        if (result[i] == '#')
            inComment = true;
        if (inComment)
            result[i] = ' ';
    }
    return result;
}

int lineAt(const std::string &text, std::size_t pos)
{
    int line = 1;
    for (std::size_t i = 0; i < pos && i < text.size(); ++i)
        if (text[i] == '\n')
            ++line;
    return line;
}

// A command that ran on into the next one usually means a forgotten ";". Finds a line inside
// the value that starts like "WORD:" and returns its offset in the value.
std::size_t nextCommandStart(const std::string &value)
{
    std::size_t pos = value.find('\n');
    while (pos != std::string::npos) {
        std::size_t i = pos + 1;
        while (i < value.size() && (value[i] == ' ' || value[i] == '\t' || value[i] == '\r'))
            ++i;
        const std::size_t wordStart = i;
        while (i < value.size() && Text::isName(std::string(1, value[i])))
            ++i;
        if (i > wordStart) {
            while (i < value.size() && (value[i] == ' ' || value[i] == '\t'))
                ++i;
            if (i < value.size() && value[i] == ':')
                return wordStart;
        }
        pos = value.find('\n', pos + 1);
    }
    return std::string::npos;
}

std::string unquoted(const std::string &text)
{
    if (text.size() >= 2
        && ((text.front() == '"' && text.back() == '"')
            || (text.front() == '\'' && text.back() == '\'')))
        return text.substr(1, text.size() - 2);
    return text;
}

} // namespace

Script Script::load(const std::filesystem::path &path)
{
    const std::string name = path.string();
    std::ifstream in(path, std::ios::binary);
    if (!in)
        throw InputError("script '" + name + "': cannot open the file for reading.");
    std::ostringstream content;
    content << in.rdbuf();
    if (in.bad())
        throw InputError("script '" + name + "': reading the file failed.");
    std::filesystem::path folder = path.parent_path();
    if (folder.empty())
        folder = ".";
    return parse(content.str(), name, folder);
}

Script Script::parse(const std::string &text, const std::string &name,
                     const std::filesystem::path &folder)
{
    Script script;
    script.name = name;
    script.folder = folder;
    std::set<std::string> seen;
    for (const Command &command : split(text, name)) {
        // A new script starts as a list of empty commands to fill in; those left empty say
        // nothing, so the defaults apply.
        if (command.value.empty())
            continue;
        static const std::set<std::string> knownWords {"DATA",  "VARIABLES", "MISSING",    "MODEL",
                                                       "SEED",  "BURN",      "ITERATIONS", "CHAINS",
                                                       "CHAIN", "NIMPS",     "CLUSTERID",  "SIMULATE"};
        if (knownWords.count(command.word) != 0 && !seen.insert(command.word).second)
            script.warnings.push_back(Text::format("Line %d: %s is given more than once; the "
                                                   "last one is used.",
                                                   command.line, command.word.c_str()));
        script.apply(command);
    }
    if (script.dataFile.empty())
        throw InputError("script '" + name
                         + "': there is no DATA command; add one such as \"DATA: mydata.dat;\".");
    if (script.outcome.empty())
        throw InputError("script '" + name
                         + "': there is no MODEL command; add one such as \"MODEL: y ~ x1 x2;\".");
    if (!script.randomSlopes.empty() && script.clusterId.empty())
        script.fail(script.modelLine,
                    "random slopes (after \"|\") need a CLUSTERID command naming the clusters.");
    if (script.simulation.requested)
        script.checkSimulation();
    if (!script.saveImputations.empty() && script.imputations == 0)
        script.warnings.push_back(Text::format("Line %d: SAVE asks for imputations but NIMPS is "
                                               "not given; no imputed data sets are written.",
                                               script.saveLine));
    if (script.saveImputations.empty() && script.imputations > 0)
        script.warnings.push_back(Text::format("Line %d: NIMPS is given without \"SAVE: "
                                               "imputations = name*.dat;\"; the imputed data "
                                               "sets are not written.",
                                               script.imputationsLine));
    if (script.imputations > script.chains * script.iterations)
        script.fail(
            script.imputationsLine,
            "NIMPS cannot exceed the number of saved iterations (ITERATIONS times CHAINS).");
    return script;
}

std::vector<Script::Command> Script::split(const std::string &raw, const std::string &name)
{
    std::string text = raw;
    if (text.compare(0, 3, "\xEF\xBB\xBF") == 0)
        text.erase(0, 3);
    if (text.compare(0, 2, "#!") == 0) {
        // The first line picks the engine for the studio; it is not a command here.
        const auto end = std::min(text.find('\n'), text.size());
        std::fill(text.begin(), text.begin() + static_cast<std::ptrdiff_t>(end), ' ');
    }
    text = withoutComments(text);

    std::vector<Command> commands;
    std::size_t start = 0;
    while (start < text.size()) {
        const auto end = text.find(';', start);
        const std::string piece
            = text.substr(start, end == std::string::npos ? std::string::npos : end - start);
        const auto first = piece.find_first_not_of(" \t\r\n");
        if (first == std::string::npos) {
            if (end == std::string::npos)
                break;
            start = end + 1;
            continue;
        }
        Command command;
        command.line = lineAt(text, start + first);
        const auto colon = piece.find(':');
        const std::string word = Text::trim(
            piece.substr(first, colon == std::string::npos ? std::string::npos : colon - first));
        if (colon == std::string::npos || !Text::isName(word)) {
            const std::string shown = Text::trim(piece.substr(first, 30));
            throw InputError::at(
                "script '" + name + "'", command.line,
                "\"" + shown + "\" is not a command; commands are written \"WORD: value;\".");
        }
        if (end == std::string::npos)
            throw InputError::at("script '" + name + "'", command.line,
                                 "the " + Text::upper(word) + " command has no closing \";\".");
        command.word = Text::upper(word);
        command.value = piece.substr(colon + 1);
        const auto runOn = nextCommandStart(command.value);
        if (runOn != std::string::npos) {
            const int runOnLine = lineAt(text, start + colon + 1 + runOn);
            throw InputError::at("script '" + name + "'", runOnLine,
                                 "a new command starts before the " + command.word
                                     + " command on line " + std::to_string(command.line)
                                     + " has ended; is a \";\" missing?");
        }
        command.value = Text::trim(command.value);
        commands.push_back(command);
        start = end + 1;
    }
    return commands;
}

void Script::fail(int line, const std::string &problem) const
{
    throw InputError::at("script '" + name + "'", line, problem);
}

std::string Script::singleValue(const Command &command) const
{
    const auto parts = Text::tokens(command.value, " \t\r\n");
    if (parts.size() != 1)
        fail(command.line, command.word + " takes exactly one value.");
    return parts[0];
}

long Script::integerValue(const Command &command, long lowest, long highest) const
{
    long long value = 0;
    if (!Text::parseInteger(singleValue(command), value) || value < lowest || value > highest)
        fail(command.line,
             command.word + " needs a whole number from " + std::to_string(lowest) + " to "
                 + std::to_string(highest) + ", not \"" + command.value + "\".");
    return static_cast<long>(value);
}

void Script::apply(const Command &command)
{
    const std::string &word = command.word;
    if (word == "DATA") {
        dataFile = unquoted(command.value);
        dataLine = command.line;
        if (dataFile.empty())
            fail(command.line, "DATA needs the name of the data file.");
    } else if (word == "VARIABLES") {
        variables = Text::tokens(command.value, " \t\r\n,");
        variablesLine = command.line;
        std::set<std::string> names;
        for (const auto &variable : variables) {
            if (!Text::isName(variable))
                fail(command.line, "\"" + variable + "\" is not a valid variable name.");
            if (!names.insert(Text::upper(variable)).second)
                fail(command.line, "the variable name \"" + variable + "\" is used twice.");
        }
        if (variables.empty())
            fail(command.line, "VARIABLES needs at least one name.");
    } else if (word == "MISSING") {
        missingCode = singleValue(command);
        hasMissingCode = true;
    } else if (word == "MODEL") {
        applyModel(command);
    } else if (word == "CLUSTERID") {
        clusterId = singleValue(command);
        clusterLine = command.line;
        if (!Text::isName(clusterId))
            fail(command.line, "\"" + clusterId + "\" is not a valid variable name.");
    } else if (word == "SIMULATE") {
        applySimulate(command);
    } else if (word == "SEED") {
        unsigned long long value = 0;
        if (!Text::parseUnsigned(singleValue(command), value))
            fail(command.line,
                 "SEED needs a non-negative whole number, not \"" + command.value + "\".");
        seed = value;
        seedGiven = true;
    } else if (word == "BURN") {
        burn = integerValue(command, 0, 10000000);
    } else if (word == "ITERATIONS") {
        iterations = integerValue(command, 4, 10000000);
    } else if (word == "CHAINS" || word == "CHAIN") {
        chains = integerValue(command, 1, 64);
    } else if (word == "NIMPS") {
        imputations = integerValue(command, 0, 100000);
        imputationsLine = command.line;
    } else if (word == "SAVE") {
        applySave(command);
    } else if (word == "OPTIONS" || word == "OPTION") {
        for (const auto &option : Text::tokens(command.value, " \t\r\n,"))
            options.push_back(Text::lower(option));
    } else if (word == "PLOTS" || word == "PLOT") {
        for (const auto &plot : Text::tokens(command.value, " \t\r\n,"))
            plots.push_back(Text::lower(plot));
    } else {
        warnings.push_back(Text::format("Line %d: the command %s is not supported by this engine "
                                        "and was ignored.",
                                        command.line, word.c_str()));
    }
}

void Script::applyModel(const Command &command)
{
    const auto tilde = command.value.find('~');
    if (tilde == std::string::npos || command.value.find('~', tilde + 1) != std::string::npos)
        fail(command.line, "MODEL needs the form \"outcome ~ predictors\" (or \"outcome ~ 1\").");
    const std::string left = Text::trim(command.value.substr(0, tilde));
    if (!Text::isName(left))
        fail(command.line, "MODEL needs one outcome variable before \"~\", not \"" + left + "\".");
    std::string fixedPart = command.value.substr(tilde + 1);
    std::string randomPart;
    const auto bar = fixedPart.find('|');
    if (bar != std::string::npos) {
        randomPart = fixedPart.substr(bar + 1);
        fixedPart.erase(bar);
        if (randomPart.find('|') != std::string::npos)
            fail(command.line, "MODEL takes one \"|\", before the random slopes.");
    }
    const auto right = Text::tokens(fixedPart, " \t\r\n,+");
    if (right.empty())
        fail(command.line, "MODEL needs predictors after \"~\", or \"1\" for an intercept only.");
    std::vector<std::string> names;
    std::set<std::string> seen {Text::upper(left)};
    for (const auto &term : right) {
        if (term == "1")
            continue;
        if (!Text::isName(term))
            fail(command.line, "\"" + term + "\" is not a variable name.");
        if (!seen.insert(Text::upper(term)).second)
            fail(command.line, "the variable \"" + term + "\" appears twice in the model.");
        names.push_back(term);
    }
    std::vector<std::string> slopes;
    std::set<std::string> seenSlopes;
    for (const auto &term : Text::tokens(randomPart, " \t\r\n,+")) {
        if (term == "1")
            continue; // the random intercept is always there
        if (seen.count(Text::upper(term)) == 0 || Text::equalNoCase(term, left))
            fail(command.line, "the random slope \"" + term
                                   + "\" must also be a predictor before \"|\".");
        if (!seenSlopes.insert(Text::upper(term)).second)
            fail(command.line, "the random slope \"" + term + "\" appears twice.");
        slopes.push_back(term);
    }
    outcome = left;
    predictors = names;
    randomSlopes = slopes;
    modelLine = command.line;
}

// "SIMULATE: clusters = 150 size = 20 coefficients = 10 0.5 0.3 residual = 4
//  covariance = 1 0.1 0.05 level2 = w missing = x1 0.2;" - each key starts a new group.
void Script::applySimulate(const Command &command)
{
    simulation = Simulation();
    simulation.requested = true;
    simulation.line = command.line;
    std::string text = command.value;
    for (char &c : text)
        if (c == '=')
            c = ' ';
    static const std::set<std::string> keys {"clusters", "size",   "coefficients", "residual",
                                             "covariance", "level2", "missing"};
    std::string key;
    std::set<std::string> given;
    auto number = [&](const std::string &word) {
        double value = 0.0;
        if (!Text::parseNumber(word, value))
            fail(command.line, "SIMULATE " + key + " needs numbers, not \"" + word + "\".");
        return value;
    };
    auto count = [&](const std::string &word) {
        long long value = 0;
        if (!Text::parseInteger(word, value) || value < 1 || value > 1000000)
            fail(command.line, "SIMULATE " + key + " needs a whole number from 1 to 1000000, not \""
                                   + word + "\".");
        return static_cast<long>(value);
    };
    std::string pendingMissing;
    for (const auto &word : Text::tokens(text, " \t\r\n,")) {
        const std::string lower = Text::lower(word);
        if (keys.count(lower) != 0) {
            if (!pendingMissing.empty())
                fail(command.line, "SIMULATE missing needs a fraction after \"" + pendingMissing
                                       + "\".");
            key = lower;
            if (!given.insert(key).second)
                fail(command.line, "SIMULATE gives " + key + " twice.");
            continue;
        }
        if (key.empty())
            fail(command.line, "SIMULATE expects settings such as \"clusters = 100\", not \""
                                   + word + "\".");
        if (key == "clusters")
            simulation.clusters = count(word);
        else if (key == "size")
            simulation.size = count(word);
        else if (key == "coefficients")
            simulation.coefficients.push_back(number(word));
        else if (key == "residual")
            simulation.residual = number(word);
        else if (key == "covariance")
            simulation.covariance.push_back(number(word));
        else if (key == "level2")
            simulation.levelTwo.push_back(word);
        else if (pendingMissing.empty())
            pendingMissing = word;
        else {
            const double fraction = number(word);
            if (!(fraction >= 0.0 && fraction < 1.0))
                fail(command.line, "SIMULATE missing fractions lie from 0 to below 1.");
            simulation.missing.emplace_back(pendingMissing, fraction);
            pendingMissing.clear();
        }
    }
    if (!pendingMissing.empty())
        fail(command.line, "SIMULATE missing needs a fraction after \"" + pendingMissing + "\".");
}

// The simulation must state every true value the model has.
void Script::checkSimulation() const
{
    const Simulation &s = simulation;
    const std::size_t q = 1 + randomSlopes.size();
    if (s.size < 1)
        fail(s.line, clusterId.empty() ? "SIMULATE needs \"size = \" the number of rows."
                                       : "SIMULATE needs \"size = \" the rows per cluster.");
    if (!clusterId.empty() && s.clusters < 2)
        fail(s.line, "SIMULATE with CLUSTERID needs \"clusters = \" two or more.");
    if (clusterId.empty() && s.clusters != 0)
        fail(s.line, "SIMULATE clusters needs a CLUSTERID command naming the cluster variable.");
    if (!clusterId.empty() && s.size < 2)
        fail(s.line, "SIMULATE needs two or more rows per cluster.");
    if (s.coefficients.size() != predictors.size() + 1)
        fail(s.line, Text::format("SIMULATE coefficients needs %zu numbers: the intercept and one "
                                  "per predictor of MODEL.",
                                  predictors.size() + 1));
    if (!(s.residual > 0.0))
        fail(s.line, "SIMULATE residual (the level-1 residual variance) must be positive.");
    if (clusterId.empty() && !s.covariance.empty())
        fail(s.line, "SIMULATE covariance needs a CLUSTERID command.");
    if (!clusterId.empty() && s.covariance.size() != q * (q + 1) / 2)
        fail(s.line, Text::format("SIMULATE covariance needs %zu numbers: the level-2 covariance "
                                  "matrix of the intercept and random slopes, lower triangle by "
                                  "rows.",
                                  q * (q + 1) / 2));
    auto inModel = [&](const std::string &name) {
        return Text::equalNoCase(name, outcome)
            || std::any_of(predictors.begin(), predictors.end(),
                           [&](const std::string &p) { return Text::equalNoCase(p, name); });
    };
    for (const auto &name : s.levelTwo) {
        if (clusterId.empty())
            fail(s.line, "SIMULATE level2 needs a CLUSTERID command.");
        if (!inModel(name) || Text::equalNoCase(name, outcome))
            fail(s.line, "SIMULATE level2 names \"" + name + "\", which is not a predictor.");
        for (const auto &slope : randomSlopes)
            if (Text::equalNoCase(slope, name))
                fail(s.line, "\"" + name + "\" cannot be both level-2 and a random slope.");
    }
    for (const auto &entry : s.missing) {
        if (!inModel(entry.first))
            fail(s.line, "SIMULATE missing names \"" + entry.first
                             + "\", which is not a model variable.");
        for (const auto &name : s.levelTwo)
            if (Text::equalNoCase(name, entry.first))
                fail(s.line, "SIMULATE removes level-1 values only; \"" + name
                                 + "\" is level-2.");
    }
}

void Script::applySave(const Command &command)
{
    saveLine = command.line;
    std::string text = command.value;
    for (char &c : text)
        if (c == '=')
            c = ' ';
    // After the "=" signs become blanks the value reads as pairs: key, file name.
    const auto parts = Text::tokens(text, " \t\r\n,");
    if (parts.size() % 2 != 0)
        fail(command.line, "SAVE needs pairs such as \"imputations = imp*.dat\".");
    for (std::size_t i = 0; i < parts.size(); i += 2) {
        const std::string key = Text::lower(parts[i]);
        const std::string file = unquoted(parts[i + 1]);
        if (key == "imputations") {
            if (file.find('*') == std::string::npos)
                fail(command.line,
                     "the imputations file name needs a \"*\" where the imputation number goes.");
            saveImputations = file;
        } else if (key == "estimates") {
            saveEstimates = file;
        } else {
            warnings.push_back(Text::format("Line %d: SAVE %s is not supported by this engine "
                                            "and was ignored.",
                                            command.line, parts[i].c_str()));
        }
    }
}
