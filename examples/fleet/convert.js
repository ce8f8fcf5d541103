// node convert.js RECORDS RUNS WORK SHA256 MEMORY_MB LORQ -image|-file SOURCE ARGUMENT...
// Runs lorq and writes the Parquet files RECORDS and RUNS; what it needs in between is named WORK and a suffix. Fails, and
// leaves neither, only when lorq did not end by itself or its results could not be written: a source that lorq cannot
// read has a row in RUNS that says so.
const { spawnSync } = require('child_process');
const fs = require('fs');
const { DuckDBInstance } = require('@duckdb/node-api');

const [recordsPart, runsPart, work, hashFile, memory, lorq, ...lorqArguments] = process.argv.slice(2);

// The keys of -jsonl, and as what they are read.
const keys = {
    message: 'VARCHAR', datetime: 'VARCHAR', timestamp: 'BIGINT', timestamp_desc: 'VARCHAR', time_missing: 'BOOLEAN',
    data_type: 'VARCHAR', filename: 'VARCHAR', extension: 'VARCHAR', filename_utf16: 'VARCHAR', path: 'VARCHAR',
    directory: 'VARCHAR', path_basis: 'VARCHAR', path_now: 'VARCHAR', mft_status: 'VARCHAR', file_reference: 'VARCHAR',
    parent_file_reference: 'VARCHAR', mft_entry: 'BIGINT', mft_sequence: 'INTEGER', parent_entry: 'BIGINT',
    parent_sequence: 'INTEGER', update_sequence_number: 'BIGINT', update_reason: 'VARCHAR[]', update_reason_flags: 'BIGINT',
    update_source_flags: 'BIGINT', security_id: 'BIGINT', file_attribute_flags: 'BIGINT', file_attributes: 'VARCHAR[]',
    extents: 'BIGINT[][]', file_modified: 'TIMESTAMPTZ', file_accessed: 'TIMESTAMPTZ', file_mft_changed: 'TIMESTAMPTZ',
    file_created: 'TIMESTAMPTZ', record_origin: 'VARCHAR', snapshot: 'VARCHAR', also_in: 'VARCHAR[]', foreign: 'BOOLEAN',
    usn_version: 'INTEGER', offset: 'BIGINT', source: 'VARCHAR', host: 'VARCHAR', user: 'VARCHAR',
};
// Those that become another column, or two: a partition key of the same name would hide them.
const columns = {
    datetime: 'make_timestamptz("timestamp") AS datetime, datetime AS datetime_text',
    source: '"source" AS source_path',
    host: '"host" AS host_given',
};
const run = {
    version: 'VARCHAR', arguments: 'VARCHAR[]', exit_code: 'INTEGER', source_path: 'VARCHAR', source_sha256: 'VARCHAR',
    source_size: 'BIGINT', records: 'BIGINT', from_journal: 'BIGINT', from_unallocated: 'BIGINT',
    from_shadow_copy: 'BIGINT', from_slack: 'BIGINT', lost_bytes: 'BIGINT', messages: 'VARCHAR[]', started: 'TIMESTAMPTZ',
    seconds: 'DOUBLE',
};

// Columns that repeat the texts of others need a search that looks far back, so level 8; above it little is won for much
// time. Of a column with many values a dictionary, which zstd finds nothing in, and the Bloom filter over it cost more than
// they spare.
const layout = `FORMAT parquet, PARQUET_VERSION v2, COMPRESSION zstd, COMPRESSION_LEVEL 8, ROW_GROUP_SIZE 122880,
    DICTIONARY_SIZE_LIMIT 1000, WRITE_BLOOM_FILTER false`;

const quoted = (text) => `'${text.replaceAll("'", "''")}'`;
const unfinished = (part) => `${part}.unfinished`;

function runLorq() {
    // New files, since a lorq whose job was killed may still write to the old ones.
    const [out, err] = [`${work}.jsonl`, `${work}.stderr`].map((path) => {
        fs.rmSync(path, { force: true });
        return fs.openSync(path, 'wx');
    });
    const started = new Date();
    const begun = process.hrtime.bigint();
    const done = spawnSync(lorq, lorqArguments, { stdio: ['ignore', out, err] });
    const seconds = Number(process.hrtime.bigint() - begun) / 1e9;
    [out, err].forEach(fs.closeSync);
    // Each message wipes the line of the progress first.
    const messages = fs.readFileSync(`${work}.stderr`, 'utf8').replaceAll('\x1b[2K', '').split(/[\r\n]+/)
        .filter((line) => line.trim() !== '');
    const ended = done.status === 0 || done.status === 255;
    if (!ended || messages.some((line) => line.startsWith('prob writing'))) {
        throw new Error(`${lorq}: ${done.error || done.signal || done.status}: ${messages.join('; ')}`);
    }
    const lost = messages.map((line) => /^prob reading (\d+) bytes of/.exec(line)).filter(Boolean);
    return {
        version: spawnSync(lorq, ['-version'], { encoding: 'utf8' }).stdout.trim(), arguments: lorqArguments,
        exit_code: done.status, source_path: lorqArguments[1], source_sha256: fs.readFileSync(hashFile, 'utf8').split(' ')[0],
        source_size: fs.statSync(lorqArguments[1]).size, lost_bytes: lost.reduce((sum, [, bytes]) => sum + Number(bytes), 0),
        messages, started: started.toISOString(), seconds,
    };
}

async function writePart(connection, types, json, part, order) {
    const typed = Object.entries(types).map(([key, type]) => `"${key}": '${type}'`);
    const chosen = Object.keys(types).map((key) => (types === keys && columns[key]) || `"${key}"`);
    await connection.run(`COPY (SELECT ${chosen} FROM read_json(${quoted(json)}, format = 'newline_delimited', columns = {${typed}})
        ${order}) TO ${quoted(unfinished(part))} (${layout})`);
    const file = fs.openSync(unfinished(part), 'r+');
    fs.fsyncSync(file);
    fs.closeSync(file);
}

(async () => {
    const told = runLorq();
    const instance = await DuckDBInstance.create(':memory:', {
        threads: '1', memory_limit: `${memory}MB`, temp_directory: `${work}.spill` });
    const connection = await instance.connect();
    await connection.run("SET TimeZone = 'UTC'");
    await writePart(connection, keys, `${work}.jsonl`, recordsPart, 'ORDER BY update_sequence_number');
    const counted = await connection.runAndReadAll(`SELECT record_origin, count(*) FROM
        read_parquet(${quoted(unfinished(recordsPart))}, hive_partitioning = false) GROUP BY ALL`);
    const counts = Object.fromEntries(counted.getRows().map(([origin, count]) => [`from_${origin}`, Number(count)]));
    const none = { from_journal: 0, from_unallocated: 0, from_shadow_copy: 0, from_slack: 0 };
    told.records = Object.values(counts).reduce((sum, count) => sum + count, 0);
    fs.writeFileSync(`${work}.run`, JSON.stringify({ ...told, ...none, ...counts }) + '\n');
    await writePart(connection, run, `${work}.run`, runsPart, '');
    for (const part of [recordsPart, runsPart]) fs.renameSync(unfinished(part), part);
    for (const suffix of ['jsonl', 'run', 'spill']) fs.rmSync(`${work}.${suffix}`, { recursive: true, force: true });
})().catch((error) => { console.error(String(error)); process.exit(1); });
