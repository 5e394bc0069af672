#ifndef CHAINREADER_H
#define CHAINREADER_H

#include <QCoreApplication>
#include <QString>

#include <atomic>
#include <vector>

// The sampled draws of a run: one sequence per chain and parameter, burn-in left out.
struct ChainDraws
{
    int chains = 0;
    int parameters = 0;
    int iterations = 0;
    // Chain c's draws of parameter p are columns[c * parameters + p].
    std::vector<std::vector<double>> columns;

    const std::vector<double> &column(int vChain, int vParameter) const
    {
        return columns[size_t(vChain) * size_t(parameters) + size_t(vParameter)];
    }
};

// Reads the engine's chain files ("burn1.csv", "burn2.csv", ...: comma-separated, no header,
// the iteration number then one column per parameter) in one pass each, the files side by
// side. Numbers are parsed in place; nothing is allocated per value. Files that are missing,
// empty, ragged or hold text are refused with a sentence for the user.
class ChainReader
{
    Q_DECLARE_TR_FUNCTIONS(ChainReader)
public:
    // The name of chain vChain's file (counted from 1).
    static QString fileName(int vChain);

    // Reads vChains files from vFolder, keeping the lines after the first vBurn. vExpected is
    // the number of sampled iterations the run asked for, used only to size the storage.
    // Returns false with vError set on bad files or when vCancel turns true.
    static bool read(const QString &vFolder, int vChains, int vBurn, int vExpected,
                     ChainDraws &vOut, QString &vError,
                     const std::atomic_bool *vCancel = nullptr);

    // One file: its sampled draws, one vector per column after the iteration number.
    static bool readChain(const QString &vPath, int vBurn, int vExpected,
                          std::vector<std::vector<double>> &vColumns, QString &vError,
                          const std::atomic_bool *vCancel = nullptr);
};

#endif // CHAINREADER_H
