"""Adds up the test cases in the JUnit files of one folder. Prints "passed failed".

usage: count_results.py FOLDER STATUS, with the exit code of the run that wrote them. A run that failed without a failed
case (a program that crashed, or wrote no list) counts as one failure.
"""
import pathlib
import sys
import xml.etree.ElementTree

passed = failed = 0
for path in pathlib.Path(sys.argv[1]).glob("*.xml"):
    for case in xml.etree.ElementTree.parse(path).iter("testcase"):
        if case.find("failure") is not None or case.find("error") is not None:
            failed += 1
        elif case.find("skipped") is None and case.get("status") != "notrun":
            passed += 1
if failed == 0 and (sys.argv[2] != "0" or passed == 0):
    failed = 1
print(passed, failed)
