// The labels file the engine writes beside its chains, read into plot titles.
#include "fuzzapp.h"
#include "plots/parameterlabels.h"

#include <QFile>
#include <QTemporaryDir>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *vData, size_t vSize)
{
    static QTemporaryDir folder;
    static const QString path = folder.filePath(QStringLiteral("labels.dat"));
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate))
        abort();
    file.write(fuzz::bytes(vData, vSize));
    file.close();
    const QStringList titles = ParameterLabels::read(path);
    // Every title ends in its number, in file order.
    for (int i = 0; i < titles.size(); ++i) {
        if (!titles.at(i).endsWith(QStringLiteral("Parameter %1").arg(i + 1)))
            abort();
    }
    return 0;
}
