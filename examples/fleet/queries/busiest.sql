-- The busiest minute of each host, the first of several; records that the journal holds, not carved ones.
SET TimeZone = 'UTC';
SELECT host, date_trunc('minute', datetime) AS minute, count(*) AS records, count(DISTINCT file_reference) AS files
FROM read_parquet('dataset/records/*/*/*/*.parquet', hive_partitioning = true, hive_types_autocast = false)
WHERE record_origin = 'journal' AND time_missing IS NULL
GROUP BY host, minute
QUALIFY row_number() OVER (PARTITION BY host ORDER BY records DESC, minute) = 1
ORDER BY host;
