#pragma once
// The verb a document's type carries on this desktop, settled the way the
// desktop's own launchers settle it. The type is the one the name's
// extension gives (the text behind the last dot of the path), its default
// application comes from the MIME application lists (mimeapps.list in the
// XDG configuration and data folders, then the installed handlers of the
// type and of its parent types), and the actions of that application's
// desktop entry are the verbs of the type. GIO reads the lists, so the
// answer is the file manager's.

#include <QString>
#include <QStringList>

namespace qrt::shell {

struct DocumentVerb
{
    // "open"; empty, which leaves the choice to the desktop's plain open;
    // or the name of the default application's action as its entry spells it.
    QString verb;
    // For a verb other than "open" or empty: the action's command line with
    // the document in, program first, to start without a shell. Empty when
    // the entry gives no command line that can be read.
    QStringList command;
};

// "open" without a look-up for a path without a dot, and for a type that
// has no default application; else "open" when one of its actions is
// called so (in any case, with or without a leading "&"), else the first
// action, else the empty verb.
DocumentVerb VerbForDocument(const QString &path);

} // namespace qrt::shell
