#!/usr/bin/env python3
"""Builds the translator fuzz target's seed corpus and dictionary into a build folder.

    fuzz/make_corpus.py OUT

writes OUT/corpus/ (one statement per file, named by its hash) from
  - the "sql" strings and arrays of tests/scenarios/*.json,
  - the SQL statements written as string literals in the C++ tests under tests/,
  - the curated seeds of fuzz/seeds/,
and OUT/tsql.dict: fuzz/tsql.dict plus the table and column names of the company schema
(src/schema/tables.cpp).
"""

import hashlib
import json
import pathlib
import re
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
VERBS = re.compile(rb"^\s*(SELECT|INSERT|UPDATE|DELETE)\b", re.IGNORECASE)


def scenario_statements():
    def walk(node):
        if isinstance(node, dict):
            for key, value in node.items():
                if key == "sql":
                    if isinstance(value, str):
                        yield value.encode("utf-8")
                    elif isinstance(value, list):
                        for item in value:
                            if isinstance(item, str):
                                yield item.encode("utf-8")
                else:
                    yield from walk(value)
        elif isinstance(node, list):
            for item in node:
                yield from walk(item)

    for path in sorted((ROOT / "tests" / "scenarios").glob("*.json")):
        try:
            yield from walk(json.loads(path.read_text(encoding="utf-8")))
        except (OSError, ValueError):
            continue


# A C++ string literal (no raw strings), and the blanks between adjacent ones.
LITERAL = re.compile(r'"((?:[^"\\\n]|\\.)*)"')
ESCAPES = {"n": "\n", "t": "\t", "r": "\r", "0": "\0", '"': '"', "'": "'", "\\": "\\"}


def unescape(text):
    out = []
    i = 0
    while i < len(text):
        c = text[i]
        if c != "\\" or i + 1 >= len(text):
            out.append(c)
            i += 1
            continue
        n = text[i + 1]
        if n == "x":
            digits = re.match(r"[0-9a-fA-F]{1,2}", text[i + 2:])
            if digits:
                out.append(chr(int(digits.group(0), 16)))
                i += 2 + len(digits.group(0))
                continue
        out.append(ESCAPES.get(n, n))
        i += 2
    return "".join(out)


def cpp_statements():
    # Read byte for byte (latin-1), so that the texts come out as the bytes they are.
    for path in sorted((ROOT / "tests").rglob("*.cpp")):
        source = path.read_bytes().decode("latin-1")
        pieces = []
        last_end = None
        for match in LITERAL.finditer(source):
            between = source[last_end:match.start()] if last_end is not None else None
            if pieces and between is not None and between.strip() == "":
                pieces.append(unescape(match.group(1)))
            else:
                if pieces:
                    yield "".join(pieces).encode("latin-1", errors="replace")
                pieces = [unescape(match.group(1))]
            last_end = match.end()
        if pieces:
            yield "".join(pieces).encode("latin-1", errors="replace")


def curated_statements():
    for path in sorted((ROOT / "fuzz" / "seeds").glob("*")):
        if path.is_file():
            yield path.read_bytes()


def schema_names():
    source = (ROOT / "src" / "schema" / "tables.cpp").read_text(encoding="utf-8")
    names = set(re.findall(r'table\(\s*"(\w+)"', source))
    names |= set(re.findall(r'col\(\s*"(\w+)"', source))
    return sorted(names)


def main():
    if len(sys.argv) != 2:
        print(__doc__.strip(), file=sys.stderr)
        return 2
    out = pathlib.Path(sys.argv[1])
    corpus = out / "corpus"
    corpus.mkdir(parents=True, exist_ok=True)
    count = 0
    seen = set()
    found = [data for data in [*scenario_statements(), *cpp_statements()] if VERBS.match(data)]
    for data in [*found, *curated_statements()]:
        if len(data) > 4096 or data in seen:
            continue
        seen.add(data)
        (corpus / hashlib.sha1(data).hexdigest()).write_bytes(data)
        count += 1
    dictionary = (ROOT / "fuzz" / "tsql.dict").read_text(encoding="utf-8")
    dictionary += "# The company schema's tables and columns.\n"
    dictionary += "".join(f'"{name}"\n' for name in schema_names())
    (out / "tsql.dict").write_text(dictionary, encoding="utf-8")
    print(f"{count} seed statements in {corpus}, dictionary {out / 'tsql.dict'}")
    return 0


if __name__ == "__main__":
    sys.exit(main())
