"""Follows every link and picture of README.md and docs/*.md.

links_test.py SOURCES
"""

import pathlib
import re
import sys
import tempfile
import unittest
from urllib.parse import unquote

SOURCES = pathlib.Path(sys.argv[1]).resolve()

LINK = re.compile(r"!?\[[^\]]*\]\(<?([^)\s>]+)>?(?:\s+\"[^\"]*\")?\)")


def prose(text):
    """The text without what is shown as it is written: fenced and indented blocks, and code between backticks."""
    text = re.sub(r"^(```|~~~).*?^\1$", "", text, flags=re.DOTALL | re.MULTILINE)
    text = re.sub(r"(?:(?<=\n\n)|\A)(?: {4}.*\n|\n)+", "\n", text)
    return re.sub(r"`[^`\n]*`", lambda code: "" if "](" in code[0] else code[0], text)


def anchors(text):
    """The names that a heading can be reached by, as code hosts make them."""
    names = []
    for heading in re.findall(r"^#+ +(.*?) *#*$", prose(text), re.MULTILINE):
        heading = re.sub(r"\[([^\]]*)\]\([^)]*\)", r"\1", heading)
        name = re.sub(r"[^\w\- ]", "", heading.lower()).replace(" ", "-")
        earlier = sum(known == name or re.fullmatch(re.escape(name) + r"-\d+", known) is not None for known in names)
        names.append(f"{name}-{earlier}" if earlier else name)
    return names


def links(page):
    """What a page refers to: files, and the anchors in them."""
    for target in LINK.findall(prose(page.read_text(encoding="utf-8"))):
        if re.match(r"[a-z]+:", target):
            continue
        path, _, anchor = unquote(target).partition("#")
        yield target, (page.parent / path).resolve() if path else page, anchor


def faults(root):
    """What is wrong with the documentation below a folder, in words."""
    start = root / "README.md"
    pages = [start, *sorted((root / "docs").glob("*.md"))]
    found = []
    referred = {page: set() for page in pages}
    for page in pages:
        for target, file, anchor in links(page):
            where = f"{page.relative_to(root)}: '{target}'"
            referred[page].add(file)
            if not file.exists():
                found.append(f"{where} names no file")
            elif root not in file.parents:
                found.append(f"{where} leaves the project")
            elif anchor and anchor not in anchors(file.read_text(encoding="utf-8")):
                found.append(f"{where}: {file.name} has no such heading")
    reached = set()
    waiting = [start]
    while waiting:
        page = waiting.pop()
        if page in reached:
            continue
        reached.add(page)
        waiting += [file for file in referred[page] if file in referred]
    found += [f"{page.relative_to(root)}: no link leads here" for page in pages if page not in reached]
    shown = set().union(*referred.values())
    found += [f"{picture.relative_to(root)}: no page shows it"
              for picture in sorted((root / "docs" / "images").glob("*")) if picture not in shown]
    return found


class Links(unittest.TestCase):
    def test_the_documentation_holds_together(self):
        self.assertEqual(faults(SOURCES), [])

    def faults_of(self, **pages):
        with tempfile.TemporaryDirectory() as folder:
            root = pathlib.Path(folder).resolve()
            (root / "docs" / "images").mkdir(parents=True)
            for name, text in pages.items():
                path = root / "README.md" if name == "readme" else root / "docs" / f"{name}.md"
                path.write_text(text, encoding="utf-8")
            (root / "docs" / "images" / "a.png").write_bytes(b"")
            return faults(root)

    def test_whole_pages_have_no_faults(self):
        page = ("# One\n\n## Two `words`, here\n\n[x](#two-words-here) [y](https://y.invalid)\n"
                "\n    [code](nowhere)\n\n```\n[code](nowhere)\n```\n")
        self.assertEqual(self.faults_of(readme="[a](docs/a.md) ![b](docs/images/a.png)\n", a=page), [])

    def test_faults_are_told(self):
        readme = "[a](docs/a.md#three) ![b](docs/images/b.png)\n"
        self.assertEqual(self.faults_of(readme=readme, a="# One\n", b="# B\n"),
                         ["README.md: 'docs/a.md#three': a.md has no such heading",
                          "README.md: 'docs/images/b.png' names no file",
                          "docs/b.md: no link leads here",
                          "docs/images/a.png: no page shows it"])


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1], verbosity=2)
