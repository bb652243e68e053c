#!/usr/bin/env python3
"""Holds the man pages and documents against the programs of an installation.

  documents_test.py SOURCE_ROOT INSTALLED_TREE [NM]
"""

import pathlib
import re
import subprocess
import sys
import tempfile

PAGES = {"kxehost": 8, "kxemgr": 8, "kxecfgc": 8, "kxectl": 1}

failures = 0


def expect(holds, what):
    global failures
    if not holds:
        failures += 1
        print(what)


def run(*command):
    return subprocess.run(command, check=True, capture_output=True, text=True).stdout


def options_in_help(text):
    return set(re.findall(r"^  (?:-\w,)?(--[a-z][\w-]*)", text, re.M))


def commands_in_help(text):
    found = re.search(r"^Subcommands:\n((?:  .*\n)+)", text, re.M)
    return re.findall(r"^  ([a-z][a-z-]*)", found[1], re.M) if found else []


def options_in_page(text):
    """All options that a page in the mdoc language names."""
    return {"-" + name for name in re.findall(r"\bFl ((?:-)[a-z][\w-]*)", text)} | {
        "-" + name for name in re.findall(r"\bFl -\w[\w-]* \| (-[a-z][\w-]*)", text)}


def options_in_use(text):
    """Pairs of program and option in the code of a Markdown document, as far as a line tells."""
    pairs = set()
    for code in re.findall(r"^```.*?^```|`[^`\n]+`", text, re.S | re.M):
        code = re.sub(r"\\\n", " ", code)
        for program, arguments in re.findall(rf"\b({'|'.join(PAGES)})\b([^\n|&;`#(]*)", code):
            pairs |= {(program, option) for option in re.findall(r"(?<!\S)(--[a-z][\w-]*)", arguments)}
    return pairs


def check_the_checks():
    """What finds options finds them: otherwise nothing below could fail."""
    help_text = "Options:\n  -h,--help   x\n  --db FILE=a  y --no\n\nSubcommands:\n  on   x\n  off-line y\n\nEnd:\n  0 z\n"
    assert options_in_help(help_text) == {"--help", "--db"}
    assert commands_in_help(help_text) == ["on", "off-line"]
    page = ".It Fl h , Fl -help\n.Fl -fault Ar K\n.Fl -keep | -version\nFl is a word"
    assert options_in_page(page) == {"--help", "--fault", "--keep", "--version"}
    assert options_in_use("kxemgr --a\n`bin/kxemgr --b 1 | kxectl x --c`\n```\nkxehost \\\n  --d # --e\n```\n") == {
        ("kxemgr", "--b"), ("kxectl", "--c"), ("kxehost", "--d")}


def check_pages(tree, known):
    for program, section in PAGES.items():
        path = tree / f"share/man/man{section}/{program}.{section}"
        page = path.read_text(encoding="utf-8")
        binary = tree / "bin" / program
        text = run(binary, "--help")
        commands = commands_in_help(text)
        options = options_in_help(text)
        for command in commands:
            options |= options_in_help(run(binary, command, "--help"))
            expect(f".It Cm {command}" in page, f"{path.name}: does not tell of the command {command}")
        for kind in re.findall(r"^  ([a-z][\w-]*)  +", text.partition("Kinds of fault")[2], re.M):
            expect(f".It Cm {kind}\n" in page, f"{path.name}: does not tell of the fault {kind}")
        written = options_in_page(page)
        expect(options <= written, f"{path.name}: does not tell of {sorted(options - written)}")
        expect(written <= options, f"{path.name}: tells of {sorted(written - options)}")
        expect(re.search(rf"^\.Dt {program.upper()} {section}$", page, re.M), f"{path.name}: title")
        known[program] = options


def check_documents(root, known):
    for document in [root / "README.md", root / "CONTRIBUTING.md", *sorted((root / "docs").glob("*.md"))]:
        for program, option in sorted(options_in_use(document.read_text(encoding="utf-8"))):
            expect(option in known[program], f"{document.name}: {program} knows no {option}")


def block(document, language):
    return re.search(rf"^```{language}\n(.*?)^```", document, re.S | re.M)[1]


def check_example_upload(root, tree):
    document = (root / "docs/wire-format.md").read_text(encoding="utf-8")
    lines = block(document, "hexdump").splitlines()
    upload = b"".join(bytes.fromhex(line[10:58]) for line in lines)
    with tempfile.NamedTemporaryFile() as file:
        file.write(upload)
        file.flush()
        decoded = run(tree / "bin/kxectl", "decode", file.name)
    expect(decoded == block(document, "decoded"), f"wire-format.md: the upload is\n{decoded}")


def check_functions(root, tree, nm):
    """Each function of the agent that the module calls is in the page for those who replace it."""
    document = (root / "docs/agent-libraries.md").read_text(encoding="utf-8")
    exported = {line.split()[-1].partition("@")[0]
                for library in tree.glob("lib/lib*.so") if library.name != "libkxepinfo.so"
                for line in run(nm, "-D", "--defined-only", library).splitlines()}
    needed = {line.split()[-1].partition("@")[0] for line in
              run(nm, "-D", "--undefined-only", tree / "lib/libkxepinfo.so").splitlines()}
    expect(len(needed & exported) > 40, "the module calls hardly any function of the agent")
    # The two families of INI functions are named in whole.
    for name in sorted(needed & exported):
        family = name.startswith(("kxe_ini_file_", "ini_file_", "xmsg_"))
        expect(family or name in document, f"agent-libraries.md: does not name {name}")


def main():
    root, tree = pathlib.Path(sys.argv[1]), pathlib.Path(sys.argv[2])
    check_the_checks()
    known = {}
    check_pages(tree, known)
    check_documents(root, known)
    check_example_upload(root, tree)
    check_functions(root, tree, sys.argv[3] if len(sys.argv) > 3 else "nm")
    return 1 if failures else 0


sys.exit(main())
