// Prints the user tables of an .mdb file as JSON, read with mdb-reader, so that tests can
// compare what an independent reader sees with what the engine wrote.
//   node dump.mjs FILE.mdb
// Output: {"tables": {name: {"rowCount": n, "columns": [{name, type, size}], "rows": [[...]]}},
//          "tableNames": [...], "creationDate": iso|null}
// Values: dates as wall-clock ISO text "yyyy-mm-ddTHH:MM:SS" (".mmm" when not whole seconds),
// null as null, binary as hex text, everything else as mdb-reader returns it.
import { readFileSync } from "node:fs";
import MDBReader from "mdb-reader";

function pad(n, width = 2) {
    return String(n).padStart(width, "0");
}

// mdb-reader turns an OLE date into a Date whose UTC fields are the stored wall-clock time.
function isoWallClock(d) {
    let s = `${pad(d.getUTCFullYear(), 4)}-${pad(d.getUTCMonth() + 1)}-${pad(d.getUTCDate())}` +
        `T${pad(d.getUTCHours())}:${pad(d.getUTCMinutes())}:${pad(d.getUTCSeconds())}`;
    if (d.getUTCMilliseconds() !== 0) s += `.${pad(d.getUTCMilliseconds(), 3)}`;
    return s;
}

function plain(value) {
    if (value === null || value === undefined) return null;
    if (value instanceof Date) return isoWallClock(value);
    if (typeof value === "bigint") return value.toString();
    if (value instanceof Uint8Array) return Buffer.from(value).toString("hex");
    return value;
}

const file = process.argv[2];
if (!file) {
    process.stderr.write("usage: node dump.mjs FILE.mdb\n");
    process.exit(2);
}

try {
    const reader = new MDBReader(readFileSync(file));
    const names = reader.getTableNames();
    const tables = {};
    for (const name of names) {
        const table = reader.getTable(name);
        const columns = table.getColumns();
        const rows = table.getData().map((row) => columns.map((c) => plain(row[c.name])));
        tables[name] = {
            rowCount: table.rowCount,
            columns: columns.map((c) => ({ name: c.name, type: c.type, size: c.size })),
            rows,
        };
    }
    const created = reader.getCreationDate();
    process.stdout.write(JSON.stringify({
        tableNames: names,
        creationDate: created ? isoWallClock(created) : null,
        tables,
    }) + "\n");
} catch (err) {
    process.stderr.write(`mdb-reader: ${err && err.stack ? err.stack : err}\n`);
    process.exit(1);
}
