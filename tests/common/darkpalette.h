#ifndef DARKPALETTE_H
#define DARKPALETTE_H

#include <QColor>
#include <QPalette>

// A dark colour scheme for pictures of the studio's widgets in the documentation.
inline QPalette darkPalette()
{
    QPalette palette;
    const QColor window(0x2d, 0x2d, 0x30);
    const QColor base(0x1e, 0x1e, 0x1e);
    const QColor text(0xdc, 0xdc, 0xdc);
    palette.setColor(QPalette::Window, window);
    palette.setColor(QPalette::WindowText, text);
    palette.setColor(QPalette::Base, base);
    palette.setColor(QPalette::AlternateBase, window);
    palette.setColor(QPalette::Text, text);
    palette.setColor(QPalette::Button, window);
    palette.setColor(QPalette::ButtonText, text);
    palette.setColor(QPalette::PlaceholderText, QColor(0x80, 0x80, 0x80));
    return palette;
}

#endif // DARKPALETTE_H
