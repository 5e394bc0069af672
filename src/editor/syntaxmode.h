#ifndef SYNTAXMODE_H
#define SYNTAXMODE_H

// The language of a script editor: the engine's own scripts, or scripts for the outside program
// Mplus (which have their own keywords and use "!" for comments).
enum class SyntaxMode { Engine = 0, Mplus = 1 };

#endif // SYNTAXMODE_H
