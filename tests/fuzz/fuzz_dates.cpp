// Date texts as they come from databases, settings and the command line.
// Both readers agree, and what one reads comes back the same through the
// form the component writes for sorting and comparing.

#include "FuzzSupport.h"
#include "base/Dates.h"

#include <string_view>

namespace dates = qrt::dates;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const std::string_view bytes(reinterpret_cast<const char *>(data), size);
    const auto fromBytes = dates::fromText(bytes);
    const auto fromString = dates::fromText(qrt::fuzz::text(data, size));
    qrt::fuzz::check(fromBytes.has_value() == fromString.has_value() &&
                         (!fromBytes || *fromBytes == *fromString),
                     "both readers agree");
    if (fromBytes) {
        const QString sortable = dates::toSortableText(*fromBytes);
        const auto back = dates::fromText(sortable);
        qrt::fuzz::check(back && dates::toSortableText(*back) == sortable,
                         "the sortable text reads back");
        qrt::fuzz::check(dates::fromText(dates::toText(dates::dayOf(*fromBytes))) ==
                             dates::dayOf(*fromBytes),
                         "the day's text reads back");
    }
    return 0;
}
