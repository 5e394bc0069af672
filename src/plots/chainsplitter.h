#ifndef CHAINSPLITTER_H
#define CHAINSPLITTER_H

#include <QString>

#include <memory>
#include <utility>
#include <string>
#include <vector>

class QFile;

// Reads the engine's per-chain trace files ("burn1.csv", "burn2.csv", ...: one line per
// iteration, the iteration number then one column per parameter) once, and writes one small
// data file per parameter holding that parameter's column of every chain side by side. gnuplot
// then reads only what one plot needs instead of every chain file whole for every parameter.
//
// The work comes in steps (index(), then write() per parameter) so a caller on the GUI thread
// can spread it over the event loop. No value is parsed or allocated on its own: the files are
// mapped, each field is remembered by its offset and copied through as it stands.
class ChainSplitter
{
public:
    ChainSplitter();
    ~ChainSplitter();
    ChainSplitter(const ChainSplitter &) = delete;
    ChainSplitter &operator=(const ChainSplitter &) = delete;

    // Opens vBase + "1.csv" up to vBase + vChains + ".csv" for vParameters parameters. False when
    // the first chain's file cannot be read; a later chain that is missing is read as empty.
    bool open(const QString &vBase, int vChains, int vParameters);
    // The first chain's lines, counted as a text reader counts them (a last line without a line
    // break counts, a trailing blank line too): the run's iterations as the plots see them.
    int lines() const { return m_lines; }
    // The most data rows of any chain (blank lines are not rows).
    int rows() const { return m_rows; }

    // Indexes up to vRows more lines of every chain; true once all are indexed.
    bool index(int vRows);
    bool indexed() const;

    // Writes parameter vParameter (0-based) to vPath: one line per row, the iteration then the
    // parameter's value in each chain, blank-separated, "NaN" where a chain has no value. Works
    // before the files are indexed too, reading them through once for this one parameter.
    bool write(int vParameter, const QString &vPath);

private:
    struct Chain;
    using Field = std::pair<const char *, std::size_t>;
    bool writeScanning(int vParameter, const QString &vPath);
    void appendRow(int vRow, const Field &vIteration);
    void appendValue(const Field &vValue);
    bool save(const QString &vPath) const;

    std::vector<std::unique_ptr<Chain>> m_chains;
    int m_parameters = 0;
    int m_lines = 0;
    int m_rows = 0;
    std::string m_buffer; // reused for every parameter: clearing keeps its capacity
};

#endif // CHAINSPLITTER_H
