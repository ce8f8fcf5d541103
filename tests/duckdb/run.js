// node run.js STATEMENT...: runs them in one database and writes the rows of each as a line of JSON. Times are in UTC.
const { DuckDBInstance } = require('@duckdb/node-api');

(async () => {
    const connection = await (await DuckDBInstance.create(':memory:')).connect();
    await connection.run("SET TimeZone = 'UTC'");
    for (const statement of process.argv.slice(2)) {
        console.log(JSON.stringify((await connection.runAndReadAll(statement)).getRowsJson()));
    }
})().catch((error) => { console.error(String(error)); process.exit(1); });
