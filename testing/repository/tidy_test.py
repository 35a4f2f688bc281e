#!/usr/bin/env python3
"""The house rules that a program can check.

    tidy_test.py TREE          checks the sources of a tree
    tidy_test.py --self-test   checks that a bad sample of each rule is found
"""
import pathlib
import re
import sys

FOLDERS = ("src", "apps", "bench", "fuzz", "testing", "examples")
# A folder of src includes only from itself and from those before it.
FLOORS = ("foundation", "cloudkit", "store", "core", "database", "tracks", "filters",
          "organisation", "contentpacks", "cloud")
# The tests of these keep to that too; those of the others may take any records as samples.
TESTED_ALONE = ("foundation", "cloudkit", "store")
HEAVY = ("regex", "filesystem", "thread", "iostream", "ranges", "chrono")
LONGEST_FUNCTION, LONGEST_FILE, LONGEST_LINE = 60, 500, 100

NOT_CODE = re.compile(
    r'R"(?P<mark>[^(\s]*)\(.*?\)(?P=mark)"|"(?:\\.|[^"\\\n])*"'
    r"|(?<![0-9a-fA-F])'(?:\\.|[^'\\\n])+'|//[^\n]*|/\*.*?\*/", re.DOTALL)
TYPE_HEAD = re.compile(r"(template\s*<.*>\s*)?(class|struct|union|enum|namespace|extern)\b")


def without_text(source):
    """The source with comments and literals blanked, line for line."""
    def blank(found):
        line_ends = "\n" * found.group().count("\n")
        return line_ends if found.group().startswith("/") else line_ends or "_"
    return NOT_CODE.sub(blank, source)


def indent(line):
    return len(line) - len(line.lstrip())


def closing_line(lines, opening):
    """The line that closes the brace at the end of line `opening`; the last line if none does."""
    depth = 1
    for end in range(opening + 1, len(lines)):
        depth += lines[end].count("{") - lines[end].count("}")
        if depth <= 0:
            return end
    return len(lines) - 1


def functions(lines):
    """(first line, length) of each function. Relies on the layout that clang-format gives: a body
    closes below the first character of its statement, whose other lines stand further right."""
    for opening, line in enumerate(lines):
        if not line.endswith("{"):
            continue
        end = closing_line(lines, opening)
        start = opening
        while start > 0 and (not lines[start] or indent(lines[start]) > indent(lines[end])):
            start -= 1
        head = " ".join(part.strip() for part in lines[start:opening + 1])
        if "(" in head and not TYPE_HEAD.match(head):
            yield start + 1, end - start + 1


def check_sizes(path, raw, lines):
    if len(raw) > LONGEST_FILE:
        yield 1, f"the file has {len(raw)} lines, more than {LONGEST_FILE}"
    for number, line in enumerate(raw, 1):
        if len(line) > LONGEST_LINE:
            yield number, f"{len(line)} columns, more than {LONGEST_LINE}"
    for number, length in functions(lines):
        if length > LONGEST_FUNCTION:
            yield number, f"a function of {length} lines, more than {LONGEST_FUNCTION}"


def check_floors(path, raw, lines):
    if path.parts[0] != "src" or path.parts[1] not in FLOORS:
        return
    if path.parts[1:3] in (("database", "extensions"), ("database", "libraryfaults")):
        return  # Its views sort every record.
    if path.parts[1] not in TESTED_ALONE and path.name.endswith("_test.cpp"):
        return  # Its samples may be any records.
    mine = FLOORS.index(path.parts[1])
    for number, line in enumerate(raw, 1):
        include = re.match(r'\s*#\s*include\s*["<](?:QSMediaLibraryData/)?(\w+)/', line)
        if include and include.group(1) in FLOORS[mine + 1:]:
            yield number, f"{path.parts[1]} includes {include.group(1)}, which stands above it"


def check_headers(path, raw, lines):
    if path.suffix != ".h":
        return
    code = [line.strip() for line in lines if line.strip()]
    if not code or code[0] != "#pragma once":
        yield 1, "a header begins with #pragma once"
    for number, line in enumerate(lines, 1):
        include = re.match(r"\s*#\s*include\s*<(\w+)>", line)
        if path.parts[0] == "src" and include and include.group(1) in HEAVY:
            yield number, f"<{include.group(1)}> in a header slows all that include it"


def check_own_header_first(path, raw, lines):
    if path.suffix != ".cpp" or path.parts[0] != "src":
        return
    own = "/".join(path.parts[1:-1] + (path.stem + ".h",))
    includes = [(number, found.group(1)) for number, line in enumerate(raw, 1)
                if (found := re.match(r'\s*#\s*include\s*["<]([^">]+)', line))]
    if own in [name for _, name in includes] and includes[0][1] != own:
        yield includes[0][0], f'"{own}" is included first, to prove that it stands alone'


def check_tests(path, raw, lines):
    if not path.name.endswith("_test.cpp") and path.parts[0] != "testing":
        return
    for number, line in enumerate(lines, 1):
        if re.search(r"\b(sleep_for|sleep_until|usleep|nanosleep)\b", line):
            yield number, "a test waits on time"
        if re.search(r"\bGTEST_SKIP\(\)\s*;", line):
            yield number, "a test is skipped without a reason"
        if re.search(r"\bDISABLED_", line):
            yield number, "a test is disabled"


RULES = (check_sizes, check_floors, check_headers, check_own_header_first, check_tests)


def check(path, source):
    raw = source.splitlines()
    lines = [line.rstrip() for line in without_text(source).splitlines()]
    return [f"{path}:{number}: {text}" for rule in RULES for number, text in rule(path, raw, lines)]


def check_tree(tree):
    found, count = [], 0
    for folder in FOLDERS:
        for file in sorted((tree / folder).rglob("*")):
            if file.suffix in (".h", ".cpp"):
                count += 1
                found += check(file.relative_to(tree), file.read_text(encoding="utf-8"))
    print(*found, f"{count} files, {len(found)} findings", sep="\n")
    return count > 0 and not found


LONG_BODY = "    step();\n" * 60
SAMPLES = (  # path, source, a part of the finding; None: nothing is found
    ("src/store/A.cpp", "void f(int a,\n       int b) {\n" + "    step();\n" * 57 + "}\n", None),
    ("src/store/A.cpp", "void f(int a) {\n" + LONG_BODY + "}\n", "a function of 62"),
    ("src/store/A.cpp", "A::A(int a)\n    : a_(a),\n      b_(a) {\n" + LONG_BODY + "}\n",
     "a function of 64"),
    ("src/store/A.cpp", "TEST_F(GivenA, WhenB) {\n" + LONG_BODY + "}\n", "a function of 62"),
    ("src/store/A.h", "#pragma once\nclass A {\n    int b() {\n    " + LONG_BODY + "    }\n};\n",
     "a function of 62"),
    ("src/store/A.cpp", "int f() {\n    return g(\n        a, [](int b) {\n            step();\n"
     "        });\n}\n" + "void g() {\n    step();\n}\n" * 30, None),
    ("src/store/A.h", "#pragma once\nclass A {\n" + "    QSML_PROPERTY(int, a, setA)\n" * 70 +
     "    int b() {\n        return 1;\n    }\n};\n", None),
    ("src/store/A.h", "#pragma once\nstruct A {\n" + "    int a();\n" * 70 + "};\n", None),
    ("src/store/A.cpp", "const int table[] = {\n" + "    1,\n" * 70 + "};\n", None),
    ("src/store/A.cpp", 'const char* a = R"(\nvoid f() {\n' + LONG_BODY + '}\n)";\n', None),
    ("src/store/A.cpp", "int a;\n" * 501, "501 lines"),
    ("src/store/A.cpp", "// " + "a" * 98 + "\n", "101 columns"),
    ("src/store/A.cpp", "// " + "\u00e4" * 97 + "\n", None),
    ("src/store/A.cpp", '#include "tracks/A.h"\n', "store includes tracks"),
    ("src/store/A.cpp", '#include <QSMediaLibraryData/core/A.h>\n', "store includes core"),
    ("src/database/A.cpp", '#include "tracks/A.h"\n', "database includes tracks"),
    ("src/database/A_test.cpp", '#include "tracks/A.h"\n', None),
    ("src/store/A_test.cpp", '#include "tracks/A.h"\n', "store includes tracks"),
    ("src/database/extensions/A.cpp", '#include "tracks/A.h"\n', None),
    ("src/tracks/A.cpp", '#include "database/A.h"\n', None),
    ("apps/qsml/A.cpp", '#include "cloud/A.h"\n', None),
    ("src/store/A.h", "// Nothing.\n#pragma once\n", None),
    ("src/store/A.h", "// #pragma once\n#include <memory>\n", "begins with #pragma once"),
    ("src/store/A.h", "#pragma once\n#include <chrono>\n", "<chrono>"),
    ("testing/A.h", "#pragma once\n#include <thread>\n", None),
    ("src/store/A.cpp", '#include <string>\n#include "store/A.h"\n', "included first"),
    ("src/store/A.cpp", '#include "store/A.h"\n\n#include <string>\n', None),
    ("src/store/A+B.cpp", '#include "store/detail/B.h"\n#include "store/A.h"\n', None),
    ("src/store/A_test.cpp", "void f() { std::this_thread::sleep_for(1ms); }\n", "waits on time"),
    ("src/store/A_test.cpp", 'void f() { usleep(1); }\n', "waits on time"),
    ("src/store/A_test.cpp", "void f() { GTEST_SKIP(); }\n", "without a reason"),
    ("src/store/A_test.cpp", 'void f() { GTEST_SKIP() << "package a not installed"; }\n', None),
    ("src/store/A_test.cpp", "TEST(A, DISABLED_B) {}\n", "is disabled"),
)


def self_test():
    failures = []
    for path, source, part in SAMPLES:
        found = check(pathlib.PurePosixPath(path), source)
        right = not found if part is None else len(found) == 1 and part in found[0]
        if not right:
            failures.append(f"expected {part!r} of {path}, {source[:60]!r}; found {found}")
    print(*failures, f"{len(SAMPLES)} samples, {len(failures)} failures", sep="\n")
    return not failures


if __name__ == "__main__":
    if len(sys.argv) != 2:
        sys.exit(__doc__)
    good = self_test() if sys.argv[1] == "--self-test" else check_tree(pathlib.Path(sys.argv[1]))
    sys.exit(0 if good else 1)
