#include "svgiconengine.h"

#include <QAbstractButton>
#include <QAction>
#include <QApplication>
#include <QFile>
#include <QIcon>
#include <QPainter>
#include <QPixmap>
#include <QPixmapCache>
#include <QStyle>
#include <QStyleOption>
#include <QSvgRenderer>

SvgIconEngine::SvgIconEngine(const QString &vPath)
    : m_path(vPath)
{ }

QIcon SvgIconEngine::icon(const QString &vPath)
{
    return QIcon(new SvgIconEngine(vPath));
}

void SvgIconEngine::setIcons(std::initializer_list<std::pair<QAction *, const char *>> vActions)
{
    for (const auto &[action, path] : vActions)
        action->setIcon(icon(QString::fromLatin1(path)));
}

void SvgIconEngine::setIcons(
    std::initializer_list<std::pair<QAbstractButton *, const char *>> vButtons)
{
    for (const auto &[button, path] : vButtons)
        button->setIcon(icon(QString::fromLatin1(path)));
}

void SvgIconEngine::paint(QPainter *painter, const QRect &rect, QIcon::Mode mode,
                          QIcon::State state)
{
    QSize size = rect.size();
    if (painter->device())
        size *= painter->device()->devicePixelRatio();
    painter->drawPixmap(rect, pixmap(size, mode, state));
}

// Read once: the drawing's own size, or an empty size when it cannot be read.
QSize SvgIconEngine::defaultSize(QSvgRenderer &vRenderer)
{
    if (!m_defaultSize.isValid())
        m_defaultSize = vRenderer.isValid() ? vRenderer.defaultSize() : QSize(0, 0);
    return m_defaultSize;
}

QSize SvgIconEngine::fitted(const QSize &vDrawing, const QSize &vWanted)
{
    QSize actual = vDrawing;
    if (!actual.isEmpty())
        actual.scale(vWanted, Qt::KeepAspectRatio);
    return actual;
}

// The drawing scaled to fit the size asked for, keeping its proportions.
QSize SvgIconEngine::actualSize(const QSize &size, QIcon::Mode, QIcon::State)
{
    if (!m_defaultSize.isValid()) {
        QSvgRenderer renderer(m_path);
        defaultSize(renderer);
    }
    return fitted(m_defaultSize, size);
}

QPixmap SvgIconEngine::pixmap(const QSize &size, QIcon::Mode mode, QIcon::State)
{
    const QString key = QStringLiteral("tovrel-svgicon:%1:%2x%3:%4")
                            .arg(m_path)
                            .arg(size.width())
                            .arg(size.height())
                            .arg(int(mode));
    QPixmap result;
    if (QPixmapCache::find(key, &result))
        return result;

    QSvgRenderer renderer(m_path);
    const QSize actual = fitted(defaultSize(renderer), size);
    if (actual.isEmpty())
        return QPixmap();
    QImage image(actual, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    {
        QPainter painter(&image);
        renderer.render(&painter);
    }
    result = QPixmap::fromImage(image);
    // Disabled and selected icons look as the style makes them from the normal one.
    if (mode != QIcon::Normal && qobject_cast<QApplication *>(QCoreApplication::instance())) {
        QStyleOption option;
        option.palette = QApplication::palette();
        const QPixmap generated = QApplication::style()->generatedIconPixmap(mode, result, &option);
        if (!generated.isNull())
            result = generated;
    }
    QPixmapCache::insert(key, result);
    return result;
}

QIconEngine *SvgIconEngine::clone() const
{
    return new SvgIconEngine(*this);
}

bool SvgIconEngine::isNull()
{
    if (m_exists == Unknown)
        m_exists = QFile::exists(m_path) ? Yes : No;
    return m_exists == No;
}
