// DuckDB on the pivot benchmark's rows: load the CSV the benchmark wrote into
// an in-memory table, then count news per month and provider for some
// categories, with the month and provider totals and the grand total, as
// the pivot engine's grid has them.
import { DuckDBInstance } from "@duckdb/node-api";
import { args, median, peakRss, report, timed } from "./common.mjs";

const { csv, categories, repeats } = args();
const instance = await DuckDBInstance.create(":memory:");
const connection = await instance.connect();

const load = await timed(() =>
    connection.run(
        `CREATE TABLE news AS SELECT * FROM read_csv('${csv.replaceAll("'", "''")}', header = true, ` +
            `columns = {'Provider': 'VARCHAR', 'Channel': 'VARCHAR', 'News': 'VARCHAR', ` +
            `'NewsDate': 'TIMESTAMP', 'Category': 'VARCHAR'})`,
    ),
);

const list = categories.map((c) => `'${c.replaceAll("'", "''")}'`).join(", ");
const query =
    `SELECT date_trunc('month', NewsDate) AS month, Provider, count(News) AS n FROM news ` +
    `WHERE Category IN (${list}) ` +
    `GROUP BY GROUPING SETS ((month, Provider), (month), (Provider), ())`;
const times = [];
let grand = 0;
for (let i = 0; i < repeats; ++i) {
    const run = await timed(async () => (await connection.runAndReadAll(query)).getRows());
    times.push(run.ms);
    grand = Number(run.result.find((row) => row[0] === null && row[1] === null)[2]);
}
report({ engine: "duckdb", load_ms: load.ms, aggregate_ms: median(times), grand_total: grand, peak_rss: peakRss() });
