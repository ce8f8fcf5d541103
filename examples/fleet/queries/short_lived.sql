-- Files that were deleted within five minutes of their creation. Reasons add up until a file is closed: its first record
-- with a reason is the moment. A file reference names one life of an MFT entry.
SET TimeZone = 'UTC';
WITH lives AS (
    SELECT host, source_id, file_reference, arg_max(coalesce(path, filename), update_sequence_number) AS file,
        min(datetime) FILTER (list_contains(update_reason, 'USN_REASON_FILE_CREATE')) AS created,
        min(datetime) FILTER (list_contains(update_reason, 'USN_REASON_FILE_DELETE')) AS deleted
    FROM read_parquet('dataset/records/*/*/*/*.parquet', hive_partitioning = true, hive_types_autocast = false)
    WHERE time_missing IS NULL
    GROUP BY host, source_id, file_reference
)
SELECT host, source_id, created, (deleted - created)::VARCHAR AS lived, file
FROM lives
WHERE deleted BETWEEN created AND created + INTERVAL 5 MINUTE
ORDER BY created, host, file;
