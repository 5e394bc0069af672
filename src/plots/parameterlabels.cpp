#include "parameterlabels.h"

#include <QDebug>
#include <QFile>
#include <QRegularExpression>

namespace {

// The words that differ between variance and standard-deviation parameters.
struct SpreadWords
{
    const char *levelTwoIntercept;
    const char *levelThreeIntercept;
    const char *residualField;
    const char *residual;
    const char *interceptPair;
    const char *pair;
    const char *slope;
};

const SpreadWords kVarianceWords = {
    " level-2 intercept variance", " level-3 intercept variance",        "Residual Var.",
    " residual variance",          " covariance between intercept and ", " covariance between ",
    " slope variance of ",
};

const SpreadWords kDeviationWords = {
    " level-2 intercept standard deviation",
    " level-3 intercept standard deviation",
    "Residual SD",
    " residual standard deviation",
    " correlation between intercept and ",
    " correlation between ",
    " slope standard deviation of ",
};

} // namespace

QStringList ParameterLabels::read(const QString &vPath)
{
    QFile file(vPath);
    if (!file.open(QIODevice::ReadOnly)) {
        qDebug() << "Unable to open labels file";
        return {};
    }
    file.readLine(); // header

    QStringList labels;
    int number = 0;
    while (!file.atEnd()) {
        const QString line = QString::fromUtf8(file.readLine()).trimmed();
        // A blank line (typically a trailing one) is no record: numbering it would shift every
        // later title away from its data column.
        if (line.isEmpty())
            continue;
        labels << label(line, ++number);
    }
    return labels;
}

QStringList ParameterLabels::fields(const QString &vLine)
{
    QStringList parts = vLine.split(QLatin1Char('"'), Qt::SkipEmptyParts);
    parts.removeAll(QStringLiteral(" "));
    if (!parts.isEmpty())
        parts[0] = parts[0].toUpper();
    return parts;
}

QString ParameterLabels::label(const QString &vLine, int vNumber)
{
    return text(fields(vLine)).simplified() + QStringLiteral("\nParameter ")
        + QString::number(vNumber);
}

QString ParameterLabels::text(const QStringList &vFields)
{
    if (vFields.size() < 3) // outside the format; keep the owner so the numbering still holds
        return vFields.value(0);

    const QString &owner = vFields[0];
    const QString &type = vFields[1];
    const QString &arg = vFields[2];

    if (arg == QLatin1String("Intercept") && type == QLatin1String("Beta"))
        return owner + QStringLiteral(" intercept");
    if (type == QLatin1String("Beta"))
        return owner + QStringLiteral(" regressed on ") + arg.toUpper();
    if (type == QLatin1String("Standardized Beta"))
        return owner + QStringLiteral(" regressed on (standardized) ") + arg.toUpper();
    if (type == QLatin1String("Odds Ratio"))
        return owner + QStringLiteral(" regressed on (odds ratio) ") + arg.toUpper();
    if (type == QLatin1String("R2"))
        return owner + QStringLiteral(": Proportion of variance explained by ") + arg;
    if (type.contains(QLatin1String("Level-"))) {
        if (arg == QLatin1String("Residual Var."))
            return owner + QLatin1Char(' ') + type.toLower() + QStringLiteral(" residual variance");
        return levelText(owner, type, arg);
    }
    if (type == QLatin1String("Variance") || type == QLatin1String("Standard Deviation"))
        return owner + varianceText(type, arg);
    if (type == QLatin1String("Grand Mean"))
        return owner + QLatin1Char(' ') + type.toLower();
    if (type.contains(QLatin1String("Grand Mean")))
        return owner + type.mid(10) + QStringLiteral(" grand mean");
    if (type == QLatin1String("Threshold"))
        return owner + QStringLiteral(" threshold ") + arg.mid(3);
    return owner;
}

QString ParameterLabels::levelText(const QString &vOwner, const QString &vType, const QString &vArg)
{
    static const QRegularExpression regression(QStringLiteral("(#\\d*)\\s~\\s(.+)"));
    static const QRegularExpression variance(QStringLiteral("Var\\((#\\d+)\\)"));
    static const QRegularExpression covariance(QStringLiteral("Cov\\((#\\d+),(#\\d+)\\)"));

    const QString level = vType.toLower();
    if (const auto m = regression.match(vArg); m.hasMatch())
        return vOwner + m.captured(1) + QStringLiteral(" regressed on ") + m.captured(2).toUpper()
            + QStringLiteral(" at ") + level;
    if (const auto m = variance.match(vArg); m.hasMatch())
        return vOwner + m.captured(1) + QLatin1Char(' ') + level
            + QStringLiteral(" residual variance");
    // The one rule that rewrites the whole title, keeping the level code's own case in front.
    if (const auto m = covariance.match(vArg); m.hasMatch())
        return vType + QStringLiteral(" residual covariance between ") + vOwner + m.captured(1)
            + QStringLiteral(" and ") + vOwner + m.captured(2);
    return vOwner + QStringLiteral(" regressed on ") + vArg.toUpper() + QStringLiteral(" at ")
        + level;
}

QString ParameterLabels::varianceText(const QString &vType, const QString &vArg)
{
    static const QRegularExpression pair(QStringLiteral("L(\\d\\s)(.+),\\s(.+)"));
    static const QRegularExpression slope(QStringLiteral("L(\\d\\s)(.+)"));

    const SpreadWords &words
        = vType == QLatin1String("Variance") ? kVarianceWords : kDeviationWords;
    if (vArg == QLatin1String("L2 Intercept (i)"))
        return QString::fromLatin1(words.levelTwoIntercept);
    if (vArg == QLatin1String("L3 Intercept (i)"))
        return QString::fromLatin1(words.levelThreeIntercept);
    if (vArg == QLatin1String(words.residualField))
        return QString::fromLatin1(words.residual);
    // The level capture keeps its trailing blank; the final tidy-up folds the double blank.
    if (const auto m = pair.match(vArg); m.hasMatch()) {
        if (m.captured(2) == QLatin1String("(i)"))
            return QStringLiteral(" level-") + m.captured(1)
                + QString::fromLatin1(words.interceptPair) + m.captured(3).toUpper();
        return QStringLiteral(" level-") + m.captured(1) + QString::fromLatin1(words.pair)
            + m.captured(2).toUpper() + QStringLiteral(" and ") + m.captured(3).toUpper();
    }
    if (const auto m = slope.match(vArg); m.hasMatch())
        return QStringLiteral(" level-") + m.captured(1) + QString::fromLatin1(words.slope)
            + m.captured(2).toUpper();
    qDebug() << "Can't parse label setting to text!";
    return QLatin1Char(' ') + vType + QLatin1Char(' ') + vArg;
}
