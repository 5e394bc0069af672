#ifndef CONVERGENCESTATS_H
#define CONVERGENCESTATS_H

#include <QtGlobal>

#include <utility>
#include <vector>

// The convergence and summary numbers of one parameter. NaN stands for "not available": a
// constant parameter has no R-hat, draws holding NaN have no numbers at all.
struct ParameterSummary
{
    double rhat = 0;
    double essBulk = 0;
    double essTail = 0;
    double median = 0;
    double sd = 0;
    double q025 = 0;
    double q975 = 0;
    double mcseMean = 0;
};

// Rank-normalised split R-hat (the larger of its bulk and folded forms), bulk and tail effective
// sample sizes and the usual summaries of one parameter's draws, computed as in Vehtari, Gelman,
// Simpson, Carpenter and Buerkner (2021). Draws are given chain after chain, every chain of the
// same length. One object serves many parameters of the same shape: its scratch space and its
// table of normal quantiles of ranks are kept between calls. Not shared between threads.
class ConvergenceStats
{
public:
    ConvergenceStats() = default;

    // vDraws holds vChains runs of vIterations values each.
    ParameterSummary summarise(const double *vDraws, int vIterations, int vChains);

    // The standard normal quantile function, exact to about machine precision.
    static double normalQuantile(double vP);

private:
    struct Ranked
    {
        double value;
        int index;
    };

    void prepareRanks(int vCount);
    double rankNormal(int vFirst, int vLast, int vCount) const;
    double rhatOf(const std::vector<double> &vSplit, int vIterations, int vChains) const;
    double essOf(const std::vector<double> &vSplit, int vIterations, int vChains);
    double tailEss(const double *vDraws, int vIterations, int vChains,
                   const std::vector<double> &vSortedAll);
    // Iterations and chains of the split draws.
    static std::pair<int, int> splitShape(int vIterations, int vChains);
    void splitChains(const double *vDraws, int vIterations, int vChains, std::vector<double> &vOut);
    void sortByValue(std::vector<Ranked> &vItems);
    void zScale(std::vector<double> &vValues);
    void zScaleFolded(std::vector<double> &vValues, double vMedian);

    // Normal quantiles of the integer ranks 1..count, computed once per count.
    std::vector<double> m_rankTable;
    int m_rankTableCount = -1;
    std::vector<Ranked> m_order;
    std::vector<Ranked> m_folded;
    std::vector<Ranked> m_orderTemp;
    std::vector<quint32> m_counts;
    std::vector<double> m_split;
    std::vector<double> m_scratch;
    std::vector<double> m_acovMeans;
    std::vector<double> m_rho;
};

#endif // CONVERGENCESTATS_H
