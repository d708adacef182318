// Shared by the peer scripts: arguments, timing and the one-line JSON report
// the benchmark program reads back.
import { readFileSync } from "node:fs";

export function args() {
    const [csv, categories, repeats] = process.argv.slice(2);
    if (!csv || !categories) {
        console.error("usage: node <script> ROWS.csv CATEGORY[,CATEGORY...] [REPEATS]");
        process.exit(2);
    }
    return { csv, categories: categories.split(","), repeats: Number(repeats ?? 10) };
}

// The process's peak resident memory in bytes (VmHWM), as the kernel counts it.
export function peakRss() {
    const status = readFileSync("/proc/self/status", "utf8");
    const kb = Number(/VmHWM:\s+(\d+)/.exec(status)[1]);
    return kb * 1024;
}

export function median(values) {
    const sorted = [...values].sort((a, b) => a - b);
    return sorted[Math.floor(sorted.length / 2)];
}

export async function timed(fn) {
    const start = process.hrtime.bigint();
    const result = await fn();
    return { ms: Number(process.hrtime.bigint() - start) / 1e6, result };
}

export function report(fields) {
    console.log(JSON.stringify(fields));
}
