#include "pivotpage/PivotPageRun.h"

#include "pivotpage/PivotTableScriptObject.h"
#include "script/ScriptInterpreter.h"
#include "script/ScriptPage.h"

using namespace Qt::StringLiterals;

namespace qrt::pivot {

script::ScriptOutcome runPivotPage(const QString &pageText, PivotView &view)
{
    const script::ScriptPage page = script::ScriptPage::fromHtml(pageText);
    script::ScriptInterpreter interpreter;
    if (auto loaded = interpreter.load(page); loaded.isFailed())
        return loaded;
    auto table = std::make_shared<PivotTableScriptObject>(
        PivotTableScriptObject::Owner{[&view] { return &view; }, {}, {}});
    for (const auto &object : page.objects())
        interpreter.setGlobal(object.id, table);
    return interpreter.run(u"Window_OnLoad"_s);
}

} // namespace qrt::pivot
