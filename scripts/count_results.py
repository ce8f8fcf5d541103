"""Adds up the test cases in the JUnit files of one folder. Prints "passed failed skipped", and on standard error why cases
were skipped, each reason once.

usage: count_results.py FOLDER STATUS, with the exit code of the run that wrote them. A run that failed without a failed
case (a program that crashed, or wrote no list) counts as one failure.
"""
import collections
import pathlib
import sys
import xml.etree.ElementTree

passed = failed = 0
skipped = collections.Counter()
for path in pathlib.Path(sys.argv[1]).glob("*.xml"):
    for case in xml.etree.ElementTree.parse(path).iter("testcase"):
        reason = case.find("skipped")
        if case.find("failure") is not None or case.find("error") is not None:
            failed += 1
        elif reason is not None:
            skipped[reason.get("message", "")] += 1
        elif case.get("status") == "notrun":
            skipped["disabled"] += 1
        else:
            passed += 1
if failed == 0 and (sys.argv[2] != "0" or passed == 0):
    failed = 1
for reason, count in sorted(skipped.items()):
    print(f"{count} skipped: {reason}", file=sys.stderr)
print(passed, failed, skipped.total())
