-- Hosts whose journal has gaps: a record does not begin where the one before ends, and there was room for it. A record
-- never crosses a page of 4096 bytes, so one that would have begins the next page.
SET TimeZone = 'UTC';
WITH sized AS (
    SELECT host, source_id, datetime, update_sequence_number AS usn,
        (CASE usn_version WHEN 2 THEN 60 WHEN 3 THEN 76 ELSE 64 END
            + 16 * coalesce(len(extents), 0)
            + 2 * coalesce(length(filename_utf16) // 4,  -- else UTF-16 has two units for a character above U+FFFF
                length(filename) + length(regexp_replace(filename, '[^\x{10000}-\x{10FFFF}]', '', 'g')), 0)
            + 7) // 8 * 8 AS size
    FROM read_parquet('dataset/records/*/*/*/*.parquet', hive_partitioning = true, hive_types_autocast = false)
    WHERE record_origin = 'journal'
), follows AS (
    SELECT *, lag(usn + size) OVER following AS expected, lag(datetime) OVER following AS before
    FROM sized
    WINDOW following AS (PARTITION BY host, source_id ORDER BY usn)
)
SELECT host, source_id, count(*) AS gaps, sum(usn - expected)::BIGINT AS bytes,
    arg_max(before, usn - expected) AS largest_from, arg_max(datetime, usn - expected) AS largest_to
FROM follows
WHERE usn > expected AND NOT (usn % 4096 = 0 AND usn - expected < size)
GROUP BY host, source_id
ORDER BY host, source_id;
