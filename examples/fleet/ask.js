// node ask.js [--json] FILE.sql|STATEMENT...: asks DuckDB, in the folder where it is called, and writes what each answers
// as a table, or as one line of JSON with its rows. Times are in UTC.
const fs = require('fs');
const { DuckDBInstance } = require('@duckdb/node-api');

(async () => {
    const connection = await (await DuckDBInstance.create(':memory:')).connect();
    await connection.run("SET TimeZone = 'UTC'");
    const asked = process.argv.slice(2);
    const json = asked[0] === '--json' && asked.shift();
    for (const text of asked) {
        const answer = await connection.runAndReadAll(text.endsWith('.sql') ? fs.readFileSync(text, 'utf8') : text);
        const rows = answer.getRowsJson();
        if (json) {
            console.log(JSON.stringify(rows));
            continue;
        }
        const lines = [answer.columnNames(), ...rows.map((row) => row.map((cell) => (Array.isArray(cell) ? cell.join('; ') : String(cell ?? ''))))];
        const widths = lines[0].map((_, column) => Math.max(...lines.map((line) => line[column].length)));
        for (const line of lines) console.log(line.map((cell, column) => cell.padEnd(widths[column])).join('  ').trimEnd());
    }
})().catch((error) => { console.error(String(error)); process.exit(1); });
