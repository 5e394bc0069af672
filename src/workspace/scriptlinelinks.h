#ifndef SCRIPTLINELINKS_H
#define SCRIPTLINELINKS_H

#include <QList>
#include <QString>

// Finds where a line of engine output names a line of the script, such as
// "ERROR: script 'model.imp', line 4: ..." or "WARNING: Line 7: ...": the output pane shows these
// places as links to the script line.
class ScriptLineLinks
{
public:
    struct Link
    {
        int start = 0;
        int length = 0;
        int line = 0; // 1-based script line
        bool operator==(const Link &o) const
        {
            return start == o.start && length == o.length && line == o.line;
        }
    };

    static QList<Link> find(const QString &vText);
    // The link at cursor column vColumn of vText (either edge included), or a link with line 0.
    static Link at(const QString &vText, int vColumn);
    // The pattern every link matches (group 0 is the link), for highlighters.
    static const QString &pattern();
};

#endif // SCRIPTLINELINKS_H
