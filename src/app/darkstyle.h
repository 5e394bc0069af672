#ifndef DARKSTYLE_H
#define DARKSTYLE_H

#include <QProxyStyle>

class QApplication;
class QPalette;

// The studio's dark look: a dark palette over the Fusion style, and the dark style sheet with
// its indicator images. Installed once at start-up when dark mode is on.
class DarkStyle : public QProxyStyle
{
    Q_OBJECT
public:
    // Wraps the process's one Fusion style.
    DarkStyle();
    // Wraps vStyle, which the proxy then owns.
    explicit DarkStyle(QStyle *style);

    void polish(QApplication *app) override;
    void polish(QPalette &palette) override;

    // Keep the other polish overloads visible next to the two above.
    using QProxyStyle::polish;

private:
    static QStyle *fusionStyle();
};

#endif // DARKSTYLE_H
