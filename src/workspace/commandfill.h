#ifndef COMMANDFILL_H
#define COMMANDFILL_H

#include <QString>

// Writes a value into the empty commands of a script: every "word :  ;" (blanks allowed around
// the colon) becomes "word: value;", the command word spelled as vCommand has it. vCommand is
// used as a regular expression as it stands, so a setting may match several spellings. The
// text is returned unchanged when the command word or the value is blank, or the word is not a
// valid expression.
QString fillCommand(const QString &vText, const QString &vCommand, const QString &vValue,
                    bool vCaseSensitive);

#endif // COMMANDFILL_H
