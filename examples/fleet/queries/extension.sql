-- Who created files of one extension first: the first of each host, in the order of their times.
SET TimeZone = 'UTC';
SET VARIABLE wanted = 'pdf';
SELECT datetime, host, source_id, coalesce(path, filename) AS file, path_basis
FROM read_parquet('dataset/records/*/*/*/*.parquet', hive_partitioning = true, hive_types_autocast = false)
WHERE extension = lower(getvariable('wanted')) AND list_contains(update_reason, 'USN_REASON_FILE_CREATE')
    AND time_missing IS NULL
QUALIFY row_number() OVER (PARTITION BY host ORDER BY datetime, source_id, update_sequence_number) = 1
ORDER BY datetime, host;
