#include "pivot/PivotAggregator.h"

#include "pivot/PivotData.h"
#include "pivot/PivotResult.h"
#include "pivot/PivotView.h"

#include <QThread>
#include <QtConcurrent/QtConcurrentRun>

#include <algorithm>
#include <cmath>
#include <unordered_set>

using namespace Qt::StringLiterals;

namespace qrt::pivot {

namespace {

using Level = PivotHierarchy::Level;
using Acc = PivotResult::Acc;

constexpr quint64 kSkip = ~quint64(0);
constexpr qint64 kBlock = 4096;
constexpr qint64 kDenseTimeSpan = qint64(1) << 23; // keys below a day mapped through a table
constexpr quint64 kDenseCells = quint64(1) << 20;  // leaf cells counted in arrays
constexpr quint64 kDenseNodePairs = quint64(1) << 22;

qint64 floorDiv(qint64 a, qint64 b)
{
    return a / b - ((a % b != 0) && ((a < 0) != (b < 0)));
}

// Turns a row's value into the ordinal of its member at one level.
struct Mapper
{
    enum class Kind { Codes, Table, Times } kind = Kind::Codes;
    const PivotColumn *column = nullptr;
    std::vector<quint32> table; // Table: base code -> ordinal
    Level level = Level::Value;
    qint64 minKey = 0;
    std::vector<quint32> dense; // Times: key - minKey -> ordinal
};

struct Part
{
    const PivotFieldSet *fieldSet = nullptr;
    std::vector<int> levels; // the included ones
    int deepest = 0;
    std::vector<qint64> keys; // ordinal -> key at the deepest level
    Mapper mapper;
    quint64 count() const { return keys.size(); }
};

struct TimeTest
{
    Level level;
    std::unordered_set<qint64> keys;
};

struct Filter
{
    const PivotColumn *column = nullptr;
    bool include = true;
    std::vector<quint8> table; // base code -> passes (without the time tests)
    std::vector<TimeTest> times;
};

struct TotalPlan
{
    const PivotColumn *column = nullptr;
    int function = PivotTotal::Count;
    int slot = -1; // its accumulator, -1 when the row count answers
};

qint64 timeKey(Level level, const PivotColumn &column, quint32 dayCode,
               const std::vector<quint32> &secs, qint64 row)
{
    return PivotHierarchy::dateKey(level, column.firstDay() + static_cast<qint32>(dayCode) - 1,
                                   secs.empty() ? 0 : secs[static_cast<std::size_t>(row)]);
}

std::vector<qint64> levelKeys(const PivotHierarchy &h, int level)
{
    const Level l = h.level(level);
    const PivotColumn &column = h.column();
    std::vector<qint64> keys;
    if (l == Level::Value) {
        for (quint32 code = 0; code <= column.valueCount(); ++code)
            keys.push_back(code);
        return keys;
    }
    if (column.hasBlank())
        keys.push_back(PivotHierarchy::BlankKey);
    auto add = [&](qint64 key) {
        if (keys.empty() || keys.back() != key)
            keys.push_back(key);
    };
    if (PivotHierarchy::isDayLevel(l)) {
        for (qint32 day : column.presentDays())
            add(PivotHierarchy::dateKey(l, day, 0));
    } else {
        for (qint64 t : column.presentTimes())
            add(PivotHierarchy::dateKey(l, static_cast<qint32>(floorDiv(t, 86400)),
                                        static_cast<quint32>(t - floorDiv(t, 86400) * 86400)));
    }
    return keys;
}

Part makePart(const PivotFieldSet &fieldSet)
{
    Part part;
    part.fieldSet = &fieldSet;
    for (const PivotField *field : fieldSet.Fields())
        if (field->IsIncluded())
            part.levels.push_back(field->level());
    if (part.levels.empty())
        return part;
    const PivotHierarchy &h = fieldSet.hierarchy();
    const PivotColumn &column = h.column();
    part.deepest = part.levels.back();
    part.keys = levelKeys(h, part.deepest);
    Mapper &m = part.mapper;
    m.column = &column;
    m.level = h.level(part.deepest);
    if (m.level == Level::Value) {
        m.kind = Mapper::Kind::Codes;
    } else if (PivotHierarchy::isDayLevel(m.level)) {
        m.kind = Mapper::Kind::Table;
        m.table.assign(column.dayCodeCount() + 1, 0);
        for (qint32 day : column.presentDays()) {
            const qint64 key = PivotHierarchy::dateKey(m.level, day, 0);
            m.table[static_cast<std::size_t>(static_cast<qint64>(day) - column.firstDay() + 1)] =
                static_cast<quint32>(std::lower_bound(part.keys.begin(), part.keys.end(), key) -
                                     part.keys.begin());
        }
    } else {
        m.kind = Mapper::Kind::Times;
        const auto first = std::find_if(part.keys.begin(), part.keys.end(),
                                        [](qint64 k) { return k != PivotHierarchy::BlankKey; });
        if (first != part.keys.end() && part.keys.back() - *first < kDenseTimeSpan) {
            m.minKey = *first;
            m.dense.assign(static_cast<std::size_t>(part.keys.back() - m.minKey + 1), 0);
            for (auto it = first; it != part.keys.end(); ++it)
                m.dense[static_cast<std::size_t>(*it - m.minKey)] =
                    static_cast<quint32>(it - part.keys.begin());
        }
    }
    return part;
}

std::optional<Filter> makeFilter(const PivotFieldSet &fieldSet)
{
    const int mode = fieldSet.AllIncludeExclude();
    if (mode != PivotFieldSet::IncludeAllButExcluded &&
        mode != PivotFieldSet::ExcludeAllButIncluded)
        return std::nullopt;
    Filter filter;
    filter.include = mode == PivotFieldSet::ExcludeAllButIncluded;
    const PivotHierarchy &h = fieldSet.hierarchy();
    const PivotColumn &column = h.column();
    filter.column = &column;
    const bool dates = column.kind() == PivotColumn::Kind::Date;
    std::vector<quint8> chosen(dates ? column.dayCodeCount() + 1 : column.valueCount() + 1, 0);
    bool any = false;
    for (const PivotField *field : fieldSet.Fields()) {
        const std::vector<qint64> &keys =
            filter.include ? field->includedKeys() : field->excludedKeys();
        if (keys.empty())
            continue;
        any = true;
        const Level l = h.level(field->level());
        if (l == Level::Value) {
            for (qint64 code : keys)
                if (code >= 0 && code < static_cast<qint64>(chosen.size()))
                    chosen[static_cast<std::size_t>(code)] = 1;
            continue;
        }
        const std::unordered_set<qint64> set(keys.begin(), keys.end());
        if (set.count(PivotHierarchy::BlankKey))
            chosen[0] = 1;
        if (PivotHierarchy::isDayLevel(l)) {
            for (qint32 day : column.presentDays())
                if (set.count(PivotHierarchy::dateKey(l, day, 0)))
                    chosen[static_cast<std::size_t>(static_cast<qint64>(day) - column.firstDay() +
                                                    1)] = 1;
        } else {
            filter.times.push_back({l, set});
        }
    }
    if (!any && !filter.include)
        return std::nullopt; // nothing excluded
    filter.table = std::move(chosen);
    if (!filter.include)
        for (quint8 &pass : filter.table)
            pass = !pass;
    return filter;
}

// The leaf cells of one pass over a range of chunks.
struct Accumulator
{
    bool dense = true;
    int slotCount = 0;
    quint32 spare = 0;
    std::vector<qint64> rows; // the statement's rows in each cell
    std::vector<Acc> accs;    // cell * slotCount + slot
    std::unordered_map<quint64, quint32> index;
    std::vector<quint64> keys; // sparse: cell -> key

    void init(bool isDense, quint64 space, int accSlotCount)
    {
        dense = isDense;
        slotCount = accSlotCount;
        // The spare cell, where the dropped rows go: past the leaf cells
        // when they are counted in arrays, the first cell otherwise.
        spare = dense ? static_cast<quint32>(space) : 0;
        rows.assign(static_cast<std::size_t>(spare) + 1, 0);
        accs.assign((static_cast<std::size_t>(spare) + 1) * static_cast<std::size_t>(slotCount),
                    Acc());
        keys.assign(dense ? 0 : 1, kSkip);
    }
    quint32 cell(quint64 key)
    {
        const auto [it, added] = index.try_emplace(key, static_cast<quint32>(rows.size()));
        if (added) {
            rows.push_back(0);
            keys.push_back(key);
            accs.resize(accs.size() + static_cast<std::size_t>(slotCount));
        }
        return it->second;
    }
    void merge(const Accumulator &o)
    {
        for (std::size_t i = 0; i < rows.size(); ++i)
            rows[i] += o.rows[i];
        for (std::size_t i = 0; i < accs.size(); ++i)
            accs[i].merge(o.accs[i]);
    }
};

class Pass
{
public:
    Pass(const PivotData &data, const std::vector<const Part *> &parts,
         const std::vector<Filter> &filters, const std::vector<TotalPlan> &totals)
        : m_data(data)
        , m_parts(parts)
        , m_filters(filters)
        , m_totals(totals)
    {}

    void run(int firstChunk, int lastChunk, Accumulator &acc) const
    {
        std::vector<quint64> keys(kBlock);
        std::vector<quint32> cells(kBlock);
        for (int chunk = firstChunk; chunk < lastChunk; ++chunk) {
            const qint64 rows = std::min(PivotColumn::ChunkRows,
                                         m_data.rowCount() - chunk * PivotColumn::ChunkRows);
            for (qint64 begin = 0; begin < rows; begin += kBlock) {
                const qint64 end = std::min(rows, begin + kBlock);
                std::fill(keys.begin(), keys.begin() + (end - begin), 0);
                for (const Part *part : m_parts)
                    mapPart(*part, chunk, begin, end, keys.data());
                for (const Filter &filter : m_filters)
                    applyFilter(filter, chunk, begin, end, keys.data());
                count(acc, chunk, begin, end, keys.data(), cells.data());
            }
        }
    }

private:
    static void mapPart(const Part &part, int chunk, qint64 begin, qint64 end, quint64 *keys)
    {
        const Mapper &m = part.mapper;
        const quint64 n = part.count();
        visitCodes(m.column->codes(chunk), [&](const auto &codes) {
            switch (m.kind) {
            case Mapper::Kind::Codes:
                for (qint64 r = begin; r < end; ++r)
                    keys[r - begin] = keys[r - begin] * n + codes[static_cast<std::size_t>(r)];
                break;
            case Mapper::Kind::Table: {
                const quint32 *table = m.table.data();
                for (qint64 r = begin; r < end; ++r)
                    keys[r - begin] =
                        keys[r - begin] * n + table[codes[static_cast<std::size_t>(r)]];
                break;
            }
            case Mapper::Kind::Times: {
                const std::vector<quint32> &secs = m.column->seconds(chunk);
                for (qint64 r = begin; r < end; ++r) {
                    const quint32 code = codes[static_cast<std::size_t>(r)];
                    quint64 ordinal = 0; // the blank comes first
                    if (code != 0) {
                        const qint64 key = timeKey(m.level, *m.column, code, secs, r);
                        ordinal =
                            m.dense.empty()
                                ? static_cast<quint64>(
                                      std::lower_bound(part.keys.begin(), part.keys.end(), key) -
                                      part.keys.begin())
                                : m.dense[static_cast<std::size_t>(key - m.minKey)];
                    }
                    keys[r - begin] = keys[r - begin] * n + ordinal;
                }
                break;
            }
            }
        });
    }

    static void applyFilter(const Filter &f, int chunk, qint64 begin, qint64 end, quint64 *keys)
    {
        visitCodes(f.column->codes(chunk), [&](const auto &codes) {
            const quint8 *table = f.table.data();
            if (f.times.empty()) {
                // Branch-free: a filter passes about as often as not.
                for (qint64 r = begin; r < end; ++r)
                    keys[r - begin] |=
                        quint64(0) - quint64(table[codes[static_cast<std::size_t>(r)]] == 0);
                return;
            }
            const std::vector<quint32> &secs = f.column->seconds(chunk);
            for (qint64 r = begin; r < end; ++r) {
                const quint32 code = codes[static_cast<std::size_t>(r)];
                bool hit = false;
                if (code != 0)
                    for (const TimeTest &test : f.times)
                        hit = hit ||
                              test.keys.count(timeKey(test.level, *f.column, code, secs, r)) > 0;
                const bool pass = f.include ? (table[code] || hit) : (table[code] && !hit);
                if (!pass)
                    keys[r - begin] = kSkip;
            }
        });
    }

    // A grouped load's row stands for `weight` rows of the statement.
    static qint64 weight(const std::vector<quint32> &weights, qint64 row)
    {
        return weights.empty() ? 1 : weights[static_cast<std::size_t>(row)];
    }

    void count(Accumulator &acc, int chunk, qint64 begin, qint64 end, const quint64 *keys,
               quint32 *cells) const
    {
        const std::vector<quint32> &weights = m_data.weights(chunk);
        if (acc.dense) {
            // Dropped rows go to a spare cell past the end, which saves a
            // branch the processor could not predict.
            qint64 *rows = acc.rows.data();
            const quint64 spare = acc.spare;
            for (qint64 r = begin; r < end; ++r) {
                const quint64 key = keys[r - begin];
                const quint64 dropped = quint64(0) - quint64(key == kSkip); // all ones or none
                const quint64 cell = (key & ~dropped) | (spare & dropped);
                cells[r - begin] = static_cast<quint32>(cell);
                rows[cell] += weight(weights, r);
            }
        } else {
            for (qint64 r = begin; r < end; ++r) {
                const quint64 key = keys[r - begin];
                const quint32 cell = key == kSkip ? acc.spare : acc.cell(key);
                cells[r - begin] = cell;
                acc.rows[cell] += weight(weights, r);
            }
        }
        for (const TotalPlan &total : m_totals) {
            if (total.slot < 0)
                continue;
            const PivotColumn &column = *total.column;
            auto accOf = [&](quint32 cell) -> Acc & {
                return acc
                    .accs[static_cast<std::size_t>(cell) * static_cast<std::size_t>(acc.slotCount) +
                          static_cast<std::size_t>(total.slot)];
            };
            if (column.isCountOnly()) { // only a Count asks for it
                const std::vector<quint32> &counts = column.counts(chunk);
                for (qint64 r = begin; r < end; ++r)
                    if (cells[r - begin] != acc.spare)
                        accOf(cells[r - begin]).count += counts[static_cast<std::size_t>(r)];
                continue;
            }
            const std::vector<quint32> &secs = column.seconds(chunk);
            visitCodes(column.codes(chunk), [&](const auto &codes) {
                for (qint64 r = begin; r < end; ++r) {
                    const quint32 cell = cells[r - begin];
                    const quint32 code = codes[static_cast<std::size_t>(r)];
                    if (cell == acc.spare || code == 0)
                        continue;
                    Acc &a = accOf(cell);
                    const qint64 w = weight(weights, r);
                    if (total.function == PivotTotal::Count) {
                        a.count += w;
                        continue;
                    }
                    const double x = column.kind() == PivotColumn::Kind::Date
                                         ? PivotColumn::dateValue(
                                               column.firstDay() + static_cast<qint32>(code) - 1,
                                               secs.empty() ? 0 : secs[static_cast<std::size_t>(r)])
                                         : column.number(code);
                    if (std::isnan(x))
                        continue;
                    a.count += w;
                    a.sum += x * static_cast<double>(w);
                    a.min = std::min(a.min, x);
                    a.max = std::max(a.max, x);
                }
            });
        }
    }

    const PivotData &m_data;
    const std::vector<const Part *> &m_parts;
    const std::vector<Filter> &m_filters;
    const std::vector<TotalPlan> &m_totals;
};

std::vector<quint32> decode(quint64 tuple, const std::vector<Part> &parts)
{
    std::vector<quint32> ordinals(parts.size());
    for (std::size_t i = parts.size(); i-- > 0;) {
        ordinals[i] = static_cast<quint32>(tuple % parts[i].count());
        tuple /= parts[i].count();
    }
    return ordinals;
}

// Builds the member tree of an axis from its sorted leaf tuples; gives the
// leaf node of each tuple.
std::vector<int> buildTree(const std::vector<Part> &parts, const std::vector<quint64> &tuples,
                           std::vector<PivotResult::Node> &nodes)
{
    nodes.assign(1, PivotResult::Node());
    std::vector<int> leaves;
    leaves.reserve(tuples.size());
    for (quint64 tuple : tuples) {
        const std::vector<quint32> ordinals = decode(tuple, parts);
        int node = 0;
        for (std::size_t p = 0; p < parts.size(); ++p) {
            const Part &part = parts[p];
            const PivotHierarchy &h = part.fieldSet->hierarchy();
            const qint64 deepKey = part.keys[ordinals[p]];
            for (int level : part.levels) {
                const qint64 key = h.ancestorKey(part.deepest, deepKey, level);
                std::vector<int> &children = nodes[static_cast<std::size_t>(node)].children;
                if (!children.empty()) {
                    const PivotResult::Node &last =
                        nodes[static_cast<std::size_t>(children.back())];
                    if (last.fieldSet == part.fieldSet && last.level == level && last.key == key) {
                        node = children.back();
                        continue;
                    }
                }
                PivotResult::Node child;
                child.parent = node;
                child.depth = nodes[static_cast<std::size_t>(node)].depth + 1;
                child.fieldSet = part.fieldSet;
                child.level = level;
                child.key = key;
                child.caption = h.caption(level, key);
                child.expanded = PivotMember(part.fieldSet, level, key).Expanded();
                const int index = static_cast<int>(nodes.size());
                nodes.push_back(std::move(child));
                nodes[static_cast<std::size_t>(node)].children.push_back(index);
                node = index;
            }
        }
        leaves.push_back(node);
    }
    return leaves;
}

std::vector<Part> axisParts(const PivotAxis &axis)
{
    std::vector<Part> parts;
    for (const PivotFieldSet *fieldSet : axis.FieldSets()) {
        Part part = makePart(*fieldSet);
        if (!part.levels.empty())
            parts.push_back(std::move(part));
    }
    return parts;
}

quint64 space(const std::vector<Part> &parts)
{
    quint64 product = 1;
    for (const Part &part : parts) {
        if (part.count() == 0)
            return 0;
        if (__builtin_mul_overflow(product, part.count(), &product))
            throw PivotError::invalidValue(u"the layout"_s, u"too many member combinations"_s);
    }
    return product;
}

std::vector<int> ancestors(const std::vector<PivotResult::Node> &nodes, int node)
{
    std::vector<int> chain;
    for (; node >= 0; node = nodes[static_cast<std::size_t>(node)].parent)
        chain.push_back(node);
    return chain;
}

} // namespace

PivotResult PivotAggregator::run(const PivotView &view)
{
    PivotResult result;
    if (!view.data()) { // a view whose load failed: only the grand totals, empty
        result.m_rows.assign(1, PivotResult::Node());
        result.m_columns.assign(1, PivotResult::Node());
        result.m_cellRows.assign(1, 0);
        return result;
    }
    const std::vector<Part> rowParts = axisParts(view.RowAxis());
    const std::vector<Part> columnParts = axisParts(view.ColumnAxis());

    std::vector<Filter> filters;
    for (const PivotAxis *axis : {&view.FilterAxis(), &view.RowAxis(), &view.ColumnAxis()})
        for (const PivotFieldSet *fieldSet : axis->FieldSets())
            if (std::optional<Filter> filter = makeFilter(*fieldSet))
                filters.push_back(std::move(*filter));

    std::vector<TotalPlan> totals;
    int slotCount = 0;
    for (const PivotTotal *total : view.DataAxis().Totals()) {
        TotalPlan plan;
        plan.column = &total->Field()->FieldSet()->hierarchy().column();
        plan.function = total->Function();
        const bool countsRows = plan.function == PivotTotal::Count && !plan.column->hasBlank();
        plan.slot = countsRows ? -1 : slotCount++;
        totals.push_back(plan);
        result.m_totalCaptions.push_back(total->Caption());
        result.m_functions.push_back(total->Function());
        result.m_countsRows.push_back(countsRows);
    }

    const quint64 rowSpace = space(rowParts);
    const quint64 columnSpace = space(columnParts);
    quint64 cellSpace = 0;
    if (__builtin_mul_overflow(rowSpace, columnSpace, &cellSpace))
        throw PivotError::invalidValue(u"the layout"_s, u"too many member combinations"_s);

    std::vector<const Part *> parts;
    parts.reserve(rowParts.size() + columnParts.size());
    for (const Part &part : rowParts)
        parts.push_back(&part);
    for (const Part &part : columnParts)
        parts.push_back(&part);

    const PivotData &data = *view.data();
    const bool dense = cellSpace <= kDenseCells / static_cast<quint64>(1 + slotCount);
    Accumulator acc;
    acc.init(dense, cellSpace, slotCount);
    const Pass pass(data, parts, filters, totals);
    const int chunks = cellSpace == 0 ? 0 : data.chunkCount();
    if (dense && chunks >= 4 && QThread::idealThreadCount() > 1) {
        // Two halves on two threads; the leaf cells are small enough to add up.
        Accumulator other;
        other.init(true, cellSpace, slotCount);
        QFuture<void> half = QtConcurrent::run([&] { pass.run(chunks / 2, chunks, other); });
        pass.run(0, chunks / 2, acc);
        half.waitForFinished();
        acc.merge(other);
    } else {
        pass.run(0, chunks, acc);
    }

    // The leaf cells, and the tuples of each axis that occur.
    struct Leaf
    {
        quint64 row, column;
        quint32 cell;
    };
    std::vector<Leaf> leaves;
    auto addLeaf = [&](quint64 key, quint32 cell) {
        if (acc.rows[cell])
            leaves.push_back({key / std::max<quint64>(columnSpace, 1),
                              key % std::max<quint64>(columnSpace, 1), cell});
    };
    if (dense) {
        for (quint64 key = 0; key < cellSpace; ++key)
            addLeaf(key, static_cast<quint32>(key));
    } else {
        for (std::size_t cell = 1; cell < acc.keys.size(); ++cell)
            addLeaf(acc.keys[cell], static_cast<quint32>(cell));
    }
    std::vector<quint64> rowTuples, columnTuples;
    for (const Leaf &leaf : leaves) {
        rowTuples.push_back(leaf.row);
        columnTuples.push_back(leaf.column);
    }
    for (std::vector<quint64> *tuples : {&rowTuples, &columnTuples}) {
        std::sort(tuples->begin(), tuples->end());
        tuples->erase(std::unique(tuples->begin(), tuples->end()), tuples->end());
    }
    const std::vector<int> rowLeaf = buildTree(rowParts, rowTuples, result.m_rows);
    const std::vector<int> columnLeaf = buildTree(columnParts, columnTuples, result.m_columns);

    // Every leaf cell adds into the cells of all its row and column ancestors.
    const quint64 pairs = static_cast<quint64>(result.m_rows.size()) * result.m_columns.size();
    const std::size_t totalCount = totals.size();
    result.m_dense = pairs * std::max<std::size_t>(totalCount, 1) <= kDenseNodePairs;
    if (result.m_dense) {
        result.m_cellRows.assign(static_cast<std::size_t>(pairs), 0);
        result.m_cellAccs.assign(static_cast<std::size_t>(pairs) * totalCount, Acc());
    }
    for (const Leaf &leaf : leaves) {
        const auto r =
            std::lower_bound(rowTuples.begin(), rowTuples.end(), leaf.row) - rowTuples.begin();
        const auto c = std::lower_bound(columnTuples.begin(), columnTuples.end(), leaf.column) -
                       columnTuples.begin();
        const std::vector<int> rowChain =
            ancestors(result.m_rows, rowLeaf[static_cast<std::size_t>(r)]);
        const std::vector<int> columnChain =
            ancestors(result.m_columns, columnLeaf[static_cast<std::size_t>(c)]);
        for (int a : rowChain) {
            for (int b : columnChain) {
                const auto cell = static_cast<std::size_t>(result.cellFor(a, b));
                result.m_cellRows[cell] += acc.rows[leaf.cell];
                for (std::size_t t = 0; t < totalCount; ++t)
                    if (totals[t].slot >= 0)
                        result.m_cellAccs[cell * totalCount + t].merge(
                            acc.accs[static_cast<std::size_t>(leaf.cell) *
                                         static_cast<std::size_t>(slotCount) +
                                     static_cast<std::size_t>(totals[t].slot)]);
            }
        }
    }
    return result;
}

} // namespace qrt::pivot
