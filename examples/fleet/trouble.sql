-- Which sources gave no records, or not all of theirs.
SET TimeZone = 'UTC';
SELECT host, source_id, exit_code, records, lost_bytes, messages AS "what lorq said of sources with trouble"
FROM read_parquet('dataset/runs/*/*/*/*.parquet', hive_partitioning = true, hive_types_autocast = false)
WHERE exit_code <> 0 OR lost_bytes > 0
ORDER BY host, source_id;
