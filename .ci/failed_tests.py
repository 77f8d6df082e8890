"""Reports the failed tests of a JUnit report.

usage: python3 failed_tests.py REPORT             the failed assertions of each test, then the beginning and the end of
                                                  its output, then all names
       python3 failed_tests.py --again REPORT     exits with 0 if the failures may be due to a busy machine: at most
                                                  three tests, and no report of a sanitizer"""

import re
import sys
import xml.etree.ElementTree as xml

LONGEST_OUTPUT = 3000
LINES_OF_AN_ASSERTION = 8
ASSERTIONS_SHOWN = 5
MOST_AGAIN = 3
SANITIZER = re.compile(r"(Address|Leak|Thread)Sanitizer|runtime error:")


def failed_cases(report):
    """The name, time and output of each failed test."""
    for case in xml.parse(report).getroot().iter("testcase"):
        if case.get("status") == "fail":
            yield case.get("name"), case.get("time"), case.findtext("system-out") or ""


def assertions(output):
    lines = output.splitlines()
    places = [number for number, line in enumerate(lines) if line.endswith(": Failure")]
    return "\n".join("\n".join(lines[place : place + LINES_OF_AN_ASSERTION]) for place in places[:ASSERTIONS_SHOWN])


def shortened(output):
    if len(output) <= LONGEST_OUTPUT:
        return output
    return output[: LONGEST_OUTPUT // 3] + "\n[...]\n" + output[-2 * LONGEST_OUTPUT // 3 :]


def main(arguments):
    try:
        cases = list(failed_cases(arguments[-1]))
    except (OSError, xml.ParseError) as error:
        print(f"--- {arguments[-1]}: {error}")
        return 1
    if arguments[0] == "--again":
        return 0 if 0 < len(cases) <= MOST_AGAIN and not any(SANITIZER.search(output) for *_, output in cases) else 1
    for name, _, output in cases:
        print(f"--- failed assertions of {name}\n{assertions(output)}")
    for name, _, output in cases:
        print(f"--- output of {name}\n{shortened(output)}")
    for name, time, _ in cases:
        print(f"--- failed: {name} after {time} s")
    return 0


sys.exit(main(sys.argv[1:]))
