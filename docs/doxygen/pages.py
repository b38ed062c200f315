"""The pages: Markdown as repositories show it."""
import re
import subprocess
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]

LINK = re.compile(r"(?<!!)\[([^]]+)\]\(([^)\s]+)\)")


def pages():
    listed = subprocess.run(["git", "-C", ROOT, "ls-files", "--cached", "--others", "--exclude-standard", "*.md"],
                            check=True, capture_output=True, text=True).stdout
    return [ROOT / name for name in listed.split()]


def prose(lines):
    """(number, line) of each line that is not in a block of code."""
    code = False
    for number, line in enumerate(lines):
        if line.lstrip().startswith("```"):
            code = not code
        elif not code:
            yield number, line


def headings(lines):
    """(number, depth, heading, anchor): with the anchors that repositories give them."""
    seen = {}
    for number, line in prose(lines):
        match = re.match(r"(#+) (.*)", line)
        if match:
            text = LINK.sub(r"\1", match[2]).replace("`", "").lower()
            anchor = re.sub(r"[^\w\- ]", "", text).replace(" ", "-")
            count = seen[anchor] = seen.get(anchor, -1) + 1
            yield number, len(match[1]), match[2], f"{anchor}-{count}" if count else anchor


def is_outside(target):
    """Whether a link leaves the tree."""
    return re.match(r"[a-z]+:", target) is not None
