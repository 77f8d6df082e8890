"""Prints the failed tests of JUnit reports: first the beginning and the end of each one's output, then their names.

usage: python3 failed_tests.py REPORT..."""

import sys
import xml.etree.ElementTree as xml

LONGEST_OUTPUT = 3000


def failed_cases(report):
    for case in xml.parse(report).getroot().iter("testcase"):
        if case.get("status") == "fail":
            yield case


def main(reports):
    cases = []
    for report in reports:
        try:
            cases += failed_cases(report)
        except (OSError, xml.ParseError) as error:
            print(f"--- {report}: {error}")
    for case in cases:
        output = case.findtext("system-out") or ""
        if len(output) > LONGEST_OUTPUT:
            output = output[: LONGEST_OUTPUT // 3] + "\n[...]\n" + output[-2 * LONGEST_OUTPUT // 3 :]
        print(f"--- output of {case.get('name')}\n{output}")
    for case in cases:
        print(f"--- failed: {case.get('name')} after {case.get('time')} s")


main(sys.argv[1:])
