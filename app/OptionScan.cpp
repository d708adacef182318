#include "OptionScan.h"

using namespace Qt::StringLiterals;

bool optionGiven(const QStringList &arguments, const QString &name)
{
    const QString option = u"--"_s + name;
    for (const QString &argument : arguments)
        if (argument == option || argument.startsWith(option + u'='))
            return true;
    return false;
}
