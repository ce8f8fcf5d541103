-- Where one name was seen: on which hosts, when first and last, in which folders. Any case; % stands for any characters.
SET TimeZone = 'UTC';
SET VARIABLE wanted = 'moved.txt';
SELECT host, source_id, directory, count(*) AS records, min(datetime) AS first, max(datetime) AS last
FROM read_parquet('dataset/records/*/*/*/*.parquet', hive_partitioning = true, hive_types_autocast = false)
WHERE filename ILIKE getvariable('wanted') AND time_missing IS NULL
GROUP BY host, source_id, directory
ORDER BY first, host, source_id, directory;
