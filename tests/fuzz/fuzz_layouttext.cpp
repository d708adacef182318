// Layouts as the pivot command takes them on its command line: one text
// per axis and one for the totals. Whatever the text, laying it out either
// works or raises the object model's own error; nothing else escapes.

#include "FuzzPivotData.h"
#include "FuzzSupport.h"
#include "pivot/PivotAggregator.h"
#include "pivot/PivotError.h"
#include "pivot/PivotLayoutText.h"
#include "pivot/PivotResult.h"
#include "pivot/PivotView.h"

using namespace qrt::pivot;

extern "C" int LLVMFuzzerInitialize(int *argc, char ***argv)
{
    qrt::fuzz::startApplication(argc, argv);
    qrt::fuzz::smallPivotData();
    return 0;
}

// The input is the filter, row, column and total texts, one per line.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QStringList texts = qrt::fuzz::text(data, size).split(u'\n');
    PivotView view(qrt::fuzz::smallPivotData());
    PivotAxis *axes[] = {&view.FilterAxis(), &view.RowAxis(), &view.ColumnAxis()};
    for (qsizetype i = 0; i < texts.size() && i < 4; ++i) {
        try {
            if (i < 3)
                PivotLayoutText::applyFieldSets(view, *axes[i], texts[i]);
            else
                PivotLayoutText::applyTotals(view, texts[i]);
        } catch (const PivotError &) {
            // The command reports it and exits; the view stays usable.
        }
    }
    PivotAggregator::run(view);
    return 0;
}
