#include "parameterlist.h"

#include <utility>

ParameterList::ParameterList(std::string outcome, const std::vector<std::string> &predictors)
    : outcomeName(std::move(outcome))
    , nPredictors(predictors.size())
    , residual(predictors.size() + 1)
{
    entries.push_back({"Beta", "Intercept", "Intercept", {}});
    for (const auto &name : predictors)
        entries.push_back({"Beta", name, name, {}});
    entries.push_back({"Level-1", "Residual Var.", "Residual Var.", {}});
    if (predictors.empty())
        return;
    for (const auto &name : predictors)
        entries.push_back({"Standardized Beta", name, "Std. " + name, {}});
    entries.push_back({"R2", "Predictors", "R2", {}});
}

ParameterList::ParameterList(std::string outcome, const std::vector<std::string> &predictors,
                             const std::vector<std::string> &randomSlopes,
                             const std::string &clusterName,
                             const std::vector<std::string> &clusterLabels)
    : outcomeName(std::move(outcome))
    , nPredictors(predictors.size())
    , nRandom(randomSlopes.size() + 1)
    , nClusters(clusterLabels.size())
{
    entries.push_back({"Beta", "Intercept", "Intercept", {}});
    for (const auto &name : predictors)
        entries.push_back({"Beta", name, name, {}});
    // "(i)" stands for the intercept in the level-2 codes the plot titles are built from.
    std::vector<std::string> effects {"(i)"};
    effects.insert(effects.end(), randomSlopes.begin(), randomSlopes.end());
    auto shown = [&](std::size_t a) { return a == 0 ? std::string("Intercept") : effects[a]; };
    for (std::size_t a = 0; a < nRandom; ++a)
        for (std::size_t b = 0; b <= a; ++b) {
            if (a == 0)
                entries.push_back({"Variance", "L2 Intercept (i)", "L2 Var(Intercept)", {}});
            else if (a == b)
                entries.push_back({"Variance", "L2 " + effects[a], "L2 Var(" + effects[a] + ")",
                                   {}});
            else
                entries.push_back({"Variance", "L2 " + effects[b] + ", " + effects[a],
                                   "L2 Cov(" + shown(b) + ", " + effects[a] + ")", {}});
        }
    residual = entries.size();
    entries.push_back({"Level-1", "Residual Var.", "Residual Var.", {}});
    for (const auto &label : clusterLabels)
        for (std::size_t a = 0; a < nRandom; ++a) {
            const std::string cluster = clusterName + " " + label;
            entries.push_back({"Random Effect", cluster + " " + effects[a],
                               cluster + ": " + shown(a),
                               outcomeName + " " + cluster
                                   + (a == 0 ? " random intercept"
                                             : " random slope of " + effects[a])});
        }
}
