// Perspective on the pivot benchmark's rows: stream the CSV the benchmark
// wrote into a table, then build the view of news counted per month
// (bucketed from NewsDate) against provider for some categories, and read
// its columns out.
import perspective from "@finos/perspective";
import { createReadStream } from "node:fs";
import { createInterface } from "node:readline";
import { args, median, peakRss, report, timed } from "./common.mjs";

const { csv, categories, repeats } = args();
const table = await perspective.table({
    Provider: "string",
    Channel: "string",
    News: "string",
    NewsDate: "datetime",
    Category: "string",
});

// Node strings stop at about 512 MB, so ten million rows go in slices.
const load = await timed(async () => {
    const lines = createInterface({ input: createReadStream(csv), crlfDelay: Infinity });
    let header = null;
    let slice = [];
    for await (const line of lines) {
        if (header === null) {
            header = line;
            continue;
        }
        slice.push(line);
        if (slice.length === 250000) {
            await table.update(header + "\n" + slice.join("\n"));
            slice = [];
        }
    }
    if (slice.length) await table.update(header + "\n" + slice.join("\n"));
    return table.size();
});

const config = {
    group_by: ["Month"],
    split_by: ["Provider"],
    columns: ["News"],
    aggregates: { News: "count" },
    filter: [["Category", "in", categories]],
    expressions: { Month: `bucket("NewsDate", 'M')` },
};
const times = [];
let grand = 0;
for (let i = 0; i < repeats; ++i) {
    const run = await timed(async () => {
        const view = await table.view(config);
        const columns = await view.to_columns();
        await view.delete();
        return columns;
    });
    times.push(run.ms);
    const total = Object.entries(run.result).filter(([name]) => name.endsWith("|News"));
    grand = total.reduce((n, [, values]) => n + (values[0] ?? 0), 0);
}
report({ engine: "perspective", rows: await load.result, load_ms: load.ms, aggregate_ms: median(times),
         grand_total: grand, peak_rss: peakRss() });
process.exit(0);
