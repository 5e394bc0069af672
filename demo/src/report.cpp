#include "report.h"

#include "dataset.h"
#include "modeldata.h"
#include "multileveldata.h"
#include "parameterlist.h"
#include "script.h"
#include "text.h"

#include <algorithm>
#include <cmath>

namespace {

const std::string wideRule(75, '-');
const std::string narrowRule = std::string(4, ' ') + std::string(67, '-');

std::string centered(const std::string &text)
{
    const std::size_t pad = text.size() < 75 ? (75 - text.size()) / 2 : 0;
    return std::string(pad, ' ') + text;
}

// The rule above and below an estimates table: as wide as the name column and the six numbers.
std::string estimateRule(std::size_t nameWidth)
{
    return "  " + std::string(nameWidth + 2 + 4 * 11 + 9 + 11, '-') + "\n";
}

std::string field(const std::string &label, const std::string &value)
{
    return Text::format("  %-36s %s\n", (label + ":").c_str(), value.c_str());
}

std::string joined(const std::vector<std::string> &words)
{
    std::string result;
    for (const auto &word : words)
        result += (result.empty() ? "" : " ") + word;
    return result;
}

} // namespace

std::string Report::banner(const std::string &version)
{
    return wideRule + "\n\n" + narrowRule + "\n" + centered("Tovrel Demonstration Engine") + "\n"
        + centered("version " + version) + "\n" + narrowRule + "\n\n"
        + centered("Bayesian linear regression with missing data, by Gibbs sampling") + "\n\n"
        + wideRule + "\n\n";
}

std::string Report::options(const Script &script, bool traceFiles)
{
    std::string text = "ALGORITHMIC OPTIONS SPECIFIED:\n\n";
    text += field("Number of burn-in iterations", std::to_string(script.burn));
    text += field("Number of post-burn-in iterations", std::to_string(script.iterations));
    text += field("Number of chains", std::to_string(script.chains));
    text += field("Seed", std::to_string(script.seed) + (script.seedGiven ? "" : " (default)"));
    text += field("Number of imputations", std::to_string(script.imputations));
    text += field("Options", script.options.empty() ? "psr (default)" : joined(script.options));
    if (!script.plots.empty())
        text += field("Plots requested", joined(script.plots));
    text += field("Trace-plot files", traceFiles ? "requested" : "not requested");
    return text + "\n";
}

std::string Report::dataInformation(const Script &script, const DataSet &data,
                                    const ModelData &model)
{
    std::string text = "DATA INFORMATION:\n\n";
    text += field("Data file", script.dataFile);
    text += field("Sample size", std::to_string(data.rows()));
    text += field("Columns in the data file", std::to_string(data.columns()));
    text += field("Missing-value code", script.hasMissingCode ? script.missingCode : "none");
    text += field("Complete rows (model variables)", std::to_string(model.completeRows()));
    return text + missingPerVariable(model.names(), model.missingCounts(), data.rows());
}

std::string Report::missingPerVariable(const std::vector<std::string> &names,
                                       const std::vector<long> &missing, std::size_t rows)
{
    std::string text = "\n  Missing values per model variable:\n";
    for (std::size_t v = 0; v < names.size(); ++v)
        text += Text::format("    %-34s %8ld  (%5.1f%%)\n", names[v].c_str(), missing[v],
                             100.0 * static_cast<double>(missing[v]) / static_cast<double>(rows));
    return text + "\n";
}

std::string Report::dataInformation(const Script &script, const DataSet &data,
                                    const MultilevelData &model)
{
    std::size_t smallest = data.rows();
    std::size_t largest = 0;
    for (const auto &cluster : model.clusters()) {
        smallest = std::min(smallest, cluster.count);
        largest = std::max(largest, cluster.count);
    }
    std::string text = "DATA INFORMATION:\n\n";
    text += field("Data file", script.dataFile);
    text += field("Sample size", std::to_string(data.rows()));
    text += field("Columns in the data file", std::to_string(data.columns()));
    text += field("Missing-value code", script.hasMissingCode ? script.missingCode : "none");
    text += field("Cluster variable", model.clusterName());
    text += field("Number of clusters", std::to_string(model.clusters().size()));
    text += field("Cluster sizes (min, mean, max)",
                  Text::format("%zu, %.1f, %zu", smallest,
                               static_cast<double>(data.rows())
                                   / static_cast<double>(model.clusters().size()),
                               largest));
    text += field("Complete rows (model variables)", std::to_string(model.completeRows()));
    return text + missingPerVariable(model.names(), model.missingCounts(), data.rows());
}

std::string Report::modelInformation(const MultilevelData &model)
{
    std::vector<std::string> complete;
    std::vector<std::string> incomplete;
    std::vector<std::string> levelTwo;
    std::vector<std::string> predictors(model.names().begin(), model.names().end() - 1);
    for (std::size_t k = 0; k < model.predictors(); ++k) {
        if (model.isLevelTwo(k))
            levelTwo.push_back(predictors[k]);
        else
            (model.missingCounts()[k] == 0 ? complete : incomplete).push_back(predictors[k]);
    }
    std::vector<std::string> slopes;
    for (std::size_t a = 1; a < model.randomColumns().size(); ++a)
        slopes.push_back(predictors[model.randomColumns()[a] - 1]);

    std::string text = "MODEL INFORMATION:\n\n";
    text += "  Outcome Variable:  " + model.outcome() + "\n";
    if (!complete.empty())
        text += "  Complete predictor:  " + joined(complete) + "\n";
    if (!incomplete.empty())
        text += "  Missing predictor:  " + joined(incomplete) + "\n";
    if (!levelTwo.empty())
        text += "  Level-2 predictor:  " + joined(levelTwo)
            + "  (one value per cluster; missing cells taken from the cluster)\n";
    text += "  Cluster variable:  " + model.clusterName() + "\n";
    text += "\n  Model:  " + model.outcome() + " ~ "
        + (predictors.empty() ? std::string("1") : joined(predictors))
        + (slopes.empty() ? std::string() : " | " + joined(slopes)) + "\n";
    text += "  Random effects:  intercept" + (slopes.empty() ? std::string() : " and the slope"
                + std::string(slopes.size() > 1 ? "s" : "") + " of " + joined(slopes))
        + ", varying over " + model.clusterName() + "\n";
    text += "  Priors: flat on the coefficients, 1/variance on the level-1 residual variance;\n"
            "          inverse Wishart on the level-2 covariance matrix, with degrees of\n"
            "          freedom one less than its size and a diagonal scale of 0.01 times\n"
            "          the outcome's variance (over the predictor's variance for a slope)";
    bool anyMissing = !incomplete.empty() || model.missingCounts().back() > 0;
    if (anyMissing)
        text += ";\n          missing level-1 values drawn from a normal model of the level-1\n"
                "          predictors (Jeffreys-type prior) and the regression itself";
    return text + ".\n\n";
}

std::string Report::modelInformation(const ModelData &model)
{
    std::vector<std::string> complete;
    std::vector<std::string> incomplete;
    for (std::size_t k = 0; k < model.predictors(); ++k)
        (model.missingCounts()[k] == 0 ? complete : incomplete).push_back(model.names()[k]);
    std::vector<std::string> predictors(model.names().begin(), model.names().end() - 1);

    std::string text = "MODEL INFORMATION:\n\n";
    text += "  Outcome Variable:  " + model.outcome() + "\n";
    if (!complete.empty())
        text += "  Complete predictor:  " + joined(complete) + "\n";
    if (!incomplete.empty())
        text += "  Missing predictor:  " + joined(incomplete) + "\n";
    text += "\n  Model:  " + model.outcome() + " ~ "
        + (predictors.empty() ? std::string("1") : joined(predictors)) + "\n";
    text += "  Priors: flat on the coefficients, 1/variance on the residual variance";
    if (!incomplete.empty() || model.missingCounts().back() > 0)
        text += ";\n          missing values drawn from a normal model of the predictors\n"
                "          (Jeffreys-type prior) and the regression itself";
    return text + ".\n\n";
}

std::string Report::historyHeading(long chains, long burn)
{
    std::string text = "ITERATION HISTORY:\n\nBURN-IN POTENTIAL SCALE REDUCTION (PSR) OUTPUT:\n\n";
    if (burn < 8)
        return text + "  NOTE: The burn-in is too short for a PSR to be computed.\n\n";
    text += Text::format(
        "  NOTE: Each PSR compares the second half of the iterations so far,\n"
        "        with every chain split in two (%ld chains give %ld sequences).\n\n",
        chains, 2 * chains);
    text += Text::format("  %-26s%12s   %s\n", "Iterations compared", "Highest PSR", "Parameter");
    return text;
}

std::string Report::checkpoint(long from, long to, const PosteriorSummary::Highest &highest,
                               const ParameterList &parameters)
{
    return Text::format("  %10ld to %-10ld  %12s   %3zu  %s\n", from, to,
                        number(highest.psr, 12).c_str(), highest.parameter + 1,
                        parameters.at(highest.parameter).shortName.c_str());
}

std::string Report::number(double value, int width)
{
    if (std::isnan(value))
        return Text::format("%*s", width, "n/a");
    if (std::isinf(value))
        return Text::format("%*s", width, value > 0 ? "inf" : "-inf");
    const double size = std::fabs(value);
    if (size >= 1e6 || (size > 0.0 && size < 1e-3))
        return Text::format("%*.3e", width, value);
    return Text::format("%*.3f", width, value);
}

std::string Report::estimateRow(const std::string &name, const PosteriorSummary::Estimate &e,
                                std::size_t nameWidth)
{
    return Text::format("    %-*s", static_cast<int>(nameWidth), name.c_str())
        + number(e.median, 11) + number(e.sd, 11) + number(e.lower, 11) + number(e.upper, 11)
        + number(e.psr, 9) + Text::format("%11.1f\n", e.effectiveSize);
}

std::string Report::estimates(const ParameterList &parameters,
                              const std::vector<PosteriorSummary::Estimate> &estimates,
                              long iterations, long chains)
{
    std::size_t nameWidth = 20;
    for (std::size_t i = 0; i < parameters.size(); ++i)
        nameWidth = std::max(nameWidth, parameters.at(i).argument.size() + 2);
    const std::string rule = estimateRule(nameWidth);

    std::string text = estimateTable(parameters, nameWidth, iterations, chains) + rule;
    text += "  Variances:\n";
    text += estimateRow("Residual Var.", estimates[parameters.residualVariance()], nameWidth);
    text += "\n  Coefficients:\n";
    text += estimateRow("Intercept", estimates[parameters.intercept()], nameWidth);
    const std::size_t p = parameters.predictors();
    for (std::size_t k = 0; k < p; ++k)
        text += estimateRow(parameters.at(parameters.slope(k)).argument,
                            estimates[parameters.slope(k)], nameWidth);
    if (p > 0) {
        text += "\n  Standardized Coefficients:\n";
        for (std::size_t k = 0; k < p; ++k)
            text += estimateRow(parameters.at(parameters.standardizedSlope(k)).argument,
                                estimates[parameters.standardizedSlope(k)], nameWidth);
        text += "\n  Proportion Variance Explained\n";
        text += estimateRow("by Coefficients (R2)", estimates[parameters.rSquared()], nameWidth);
    }
    text += rule;
    return text + "\n";
}

std::string Report::estimateTable(const ParameterList &parameters, std::size_t nameWidth,
                                  long iterations, long chains)
{
    std::string text = "OUTCOME MODEL ESTIMATES:\n\n";
    text += Text::format("  Summaries based on %ld iterations using %ld chains.\n\n", iterations,
                         chains);
    text += "  Outcome Variable:  " + parameters.outcome() + "\n\n";
    text += Text::format("  %-*s%11s%11s%11s%11s%9s%11s\n", static_cast<int>(nameWidth + 2),
                         "Parameters", "Median", "StdDev", "2.5%", "97.5%", "PSR", "N_Eff");
    return text;
}

std::string Report::multilevelEstimates(const ParameterList &parameters,
                                        const std::vector<PosteriorSummary::Estimate> &estimates,
                                        long iterations, long chains)
{
    std::size_t nameWidth = 22;
    for (std::size_t i = 0; i < parameters.size(); ++i)
        nameWidth = std::max(nameWidth, parameters.at(i).shortName.size() + 2);
    const std::string rule = estimateRule(nameWidth);
    auto row = [&](std::size_t i) {
        return estimateRow(parameters.at(i).shortName, estimates[i], nameWidth);
    };
    std::string text = estimateTable(parameters, nameWidth, iterations, chains) + rule;
    text += "  Level-2 Variances and Covariances:\n";
    const std::size_t q = parameters.randomEffects();
    for (std::size_t a = 0; a < q; ++a)
        for (std::size_t b = 0; b <= a; ++b)
            text += row(parameters.levelTwo(a, b));
    text += "\n  Level-1 Variance:\n";
    text += row(parameters.residualVariance());
    text += "\n  Coefficients:\n";
    for (std::size_t k = 0; k <= parameters.predictors(); ++k)
        text += row(k);
    if (parameters.clustersKept() > 0) {
        text += "\n  Random Effects (each cluster's deviation from the coefficients):\n";
        for (std::size_t g = 0; g < parameters.clustersKept(); ++g)
            for (std::size_t a = 0; a < q; ++a)
                text += row(parameters.randomEffect(g, a));
    }
    text += rule;
    return text + "\n";
}

std::string Report::warnings(const std::vector<std::string> &messages)
{
    if (messages.empty())
        return {};
    std::string text = "WARNING MESSAGES:\n\n";
    for (const auto &message : messages)
        text += "  WARNING: " + message + "\n";
    return text + "\n";
}
