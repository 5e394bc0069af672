#ifndef SVGICONENGINE_H
#define SVGICONENGINE_H

#include <QIconEngine>
#include <QString>

#include <initializer_list>
#include <utility>

class QAction;
class QAbstractButton;
class QSvgRenderer;

// An icon drawn from one SVG resource, read and drawn only when a pixmap of it is first wanted.
// A QIcon made from a file name without a suffix guesses the file's type by probing its
// contents against every known type, and then reads the whole drawing to check it; the studio's
// icons are all SVG and mostly sit in menus nobody has opened, so they skip both.
class SvgIconEngine : public QIconEngine
{
public:
    explicit SvgIconEngine(const QString &vPath);

    static QIcon icon(const QString &vPath);
    // Gives each action (or button) the icon of the resource beside it.
    static void setIcons(std::initializer_list<std::pair<QAction *, const char *>> vActions);
    static void
    setIcons(std::initializer_list<std::pair<QAbstractButton *, const char *>> vButtons);

    void paint(QPainter *painter, const QRect &rect, QIcon::Mode mode, QIcon::State state) override;
    QPixmap pixmap(const QSize &size, QIcon::Mode mode, QIcon::State state) override;
    QSize actualSize(const QSize &size, QIcon::Mode mode, QIcon::State state) override;
    QIconEngine *clone() const override;
    bool isNull() override;

private:
    QSize defaultSize(QSvgRenderer &vRenderer);
    static QSize fitted(const QSize &vDrawing, const QSize &vWanted);

    QString m_path;
    QSize m_defaultSize; // of the drawing, once it has been read
    enum { Unknown, Yes, No } m_exists = Unknown;
};

#endif // SVGICONENGINE_H
