// Renders an SVG icon into square PNG files for the desktop's icon theme, so the PNG sizes are
// always drawn from the one scalable source.
//   tovrel-iconrender <icon.svg> <out-folder> <name> <size>...
// writes <out-folder>/<size>x<size>/<name>.png for every size; <name> may hold a folder, such as
// "apps/<icon name>".

#include <QDir>
#include <QFileInfo>
#include <QGuiApplication>
#include <QImage>
#include <QPainter>
#include <QSvgRenderer>

#include <cstdio>

int main(int argc, char **argv)
{
    QGuiApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.size() < 5) {
        std::fprintf(stderr, "usage: %s <icon.svg> <out-folder> <name> <size>...\n", argv[0]);
        return 2;
    }
    QSvgRenderer renderer(arguments.at(1));
    if (!renderer.isValid()) {
        std::fprintf(stderr, "cannot read %s\n", qPrintable(arguments.at(1)));
        return 1;
    }
    const QDir out(arguments.at(2));
    for (const QString &sizeText : arguments.mid(4)) {
        bool ok = false;
        const int size = sizeText.toInt(&ok);
        if (!ok || size <= 0) {
            std::fprintf(stderr, "not a size: %s\n", qPrintable(sizeText));
            return 2;
        }
        QImage image(size, size, QImage::Format_ARGB32_Premultiplied);
        image.fill(Qt::transparent);
        QPainter painter(&image);
        painter.setRenderHint(QPainter::Antialiasing);
        renderer.render(&painter, QRectF(0, 0, size, size));
        painter.end();
        const QString folder = QStringLiteral("%1x%1").arg(size);
        const QString file = out.filePath(folder + QLatin1Char('/') + arguments.at(3) + ".png");
        if (!QDir().mkpath(QFileInfo(file).absolutePath()) || !image.save(file, "PNG")) {
            std::fprintf(stderr, "cannot write %s\n", qPrintable(file));
            return 1;
        }
    }
    return 0;
}
