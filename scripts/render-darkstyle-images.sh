#!/usr/bin/env bash
# Renders the dark style's indicator images (src/resources/darkstyle/*.svg) to the PNG files
# the style sheet names, with Qt's own SVG renderer. Run it after editing an SVG and commit both.
set -euo pipefail
root="$(cd "$(dirname "$0")/.." && pwd)"
folder="$root/src/resources/darkstyle"
work="$(mktemp -d)"
trap 'rm -rf "$work"' EXIT

cat > "$work/render.cpp" <<'CPP'
#include <QGuiApplication>
#include <QImage>
#include <QPainter>
#include <QSvgRenderer>
int main(int argc, char **argv)
{
    QGuiApplication app(argc, argv);
    for (int i = 1; i + 1 < argc; i += 2) {
        QSvgRenderer svg(QString::fromLocal8Bit(argv[i]));
        QImage image(svg.defaultSize(), QImage::Format_ARGB32_Premultiplied);
        image.fill(Qt::transparent);
        QPainter painter(&image);
        svg.render(&painter);
        painter.end();
        if (!svg.isValid() || !image.save(QString::fromLocal8Bit(argv[i + 1])))
            return 1;
    }
    return 0;
}
CPP
g++ -std=c++17 -fPIC -o "$work/render" "$work/render.cpp" \
    $(pkg-config --cflags --libs Qt6Gui Qt6Svg)

arguments=()
for svg in "$folder"/*.svg; do
    arguments+=("$svg" "${svg%.svg}.png")
done
QT_QPA_PLATFORM=offscreen "$work/render" "${arguments[@]}"
echo "rendered $(( ${#arguments[@]} / 2 )) images"
