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
                                                       "CHAIN", "NIMPS"};
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
    const auto right = Text::tokens(command.value.substr(tilde + 1), " \t\r\n,+");
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
    outcome = left;
    predictors = names;
    modelLine = command.line;
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
