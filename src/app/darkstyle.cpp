#include "darkstyle.h"

#include <QApplication>
#include <QFile>
#include <QPalette>
#include <QPointer>
#include <QStyleFactory>

DarkStyle::DarkStyle()
    : DarkStyle(fusionStyle())
{ }

DarkStyle::DarkStyle(QStyle *style)
    : QProxyStyle(style)
{ }

QStyle *DarkStyle::fusionStyle()
{
    // The proxy takes the base style as its child, so the one Fusion style lives as long as the
    // style that wraps it; a later DarkStyle (only ever in tests) makes it anew.
    static QPointer<QStyle> style;
    if (!style)
        style = QStyleFactory::create(QStringLiteral("Fusion"));
    return style;
}

void DarkStyle::polish(QApplication *app)
{
    if (!app)
        return;
    QFile sheet(QStringLiteral(":/darkstyle/darkstyle.qss"));
    // Without the sheet the dark palette still applies.
    if (!sheet.open(QIODevice::ReadOnly | QIODevice::Text))
        return;
    app->setStyleSheet(QString::fromLatin1(sheet.readAll()));
    sheet.close();
}

void DarkStyle::polish(QPalette &palette)
{
    // Later disabled-group entries override the all-group ones before them.
    const QColor grey(127, 127, 127);
    const QColor blue(42, 130, 218);
    palette.setColor(QPalette::Window, QColor(53, 53, 53));
    palette.setColor(QPalette::WindowText, Qt::white);
    palette.setColor(QPalette::Disabled, QPalette::WindowText, grey);
    palette.setColor(QPalette::Base, QColor(42, 42, 42));
    palette.setColor(QPalette::AlternateBase, QColor(66, 66, 66));
    palette.setColor(QPalette::ToolTipBase, Qt::white);
    palette.setColor(QPalette::ToolTipText, QColor(53, 53, 53));
    palette.setColor(QPalette::Text, Qt::white);
    palette.setColor(QPalette::Disabled, QPalette::Text, grey);
    palette.setColor(QPalette::Dark, QColor(35, 35, 35));
    palette.setColor(QPalette::Shadow, QColor(20, 20, 20));
    palette.setColor(QPalette::Button, QColor(53, 53, 53));
    palette.setColor(QPalette::ButtonText, Qt::white);
    palette.setColor(QPalette::Disabled, QPalette::ButtonText, grey);
    palette.setColor(QPalette::BrightText, Qt::red);
    palette.setColor(QPalette::Link, blue);
    palette.setColor(QPalette::Highlight, blue);
    palette.setColor(QPalette::Disabled, QPalette::Highlight, QColor(80, 80, 80));
    palette.setColor(QPalette::HighlightedText, Qt::white);
    palette.setColor(QPalette::Disabled, QPalette::HighlightedText, grey);
}
