#include "parameterlist.h"

#include <utility>

ParameterList::ParameterList(std::string outcome, const std::vector<std::string> &predictors)
    : outcomeName(std::move(outcome))
    , nPredictors(predictors.size())
{
    entries.push_back({"Beta", "Intercept", "Intercept"});
    for (const auto &name : predictors)
        entries.push_back({"Beta", name, name});
    entries.push_back({"Level-1", "Residual Var.", "Residual Var."});
    if (predictors.empty())
        return;
    for (const auto &name : predictors)
        entries.push_back({"Standardized Beta", name, "Std. " + name});
    entries.push_back({"R2", "Predictors", "R2"});
}
