#ifndef STUDIOINFO_H
#define STUDIOINFO_H

#include <QString>
#include <QUrl>

// What the Help menu tells about the studio and its engine.
namespace StudioInfo {

// The help document fixed at build time; a relative address names a file beside the studio.
QUrl helpUrl();
// The About box's text (rich text): name, version, Qt version and licence.
QString aboutText();
// The studio's own changelog (Markdown), compiled in.
QString studioChangelog();
// What the engine says about itself when run with "--version", or a message saying why it
// could not be asked. Waits at most vTimeoutMs for the engine to answer.
QString engineVersion(const QString &vEngine, int vTimeoutMs = 5000);

} // namespace StudioInfo

#endif // STUDIOINFO_H
