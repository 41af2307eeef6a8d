"""Makes HTML pages of the documents in docs/, for people who have the archive and nothing else.

A page needs no network and no script. A link to a document becomes one to its page; a link to a file
that is not handed out, such as a source file, becomes plain text.
"""

import html
import pathlib
import posixpath
import re
import subprocess
import urllib.parse

# The archive's first page.
START = "docs/start.md"
# What an operator reads next. The other documents follow.
OPERATORS = ("docs/kit.md", "docs/operators-guide.md", "docs/messages.md")
CHANGES = "CHANGELOG.md"
PICTURES = (".png", ".jpg", ".svg")
STYLE = "docs/style.css"

STYLE_TEXT = """\
body { max-width: 60rem; margin: 0 auto; padding: 1rem; font: 1rem/1.5 "Segoe UI", sans-serif; color: #222; }
nav { border-bottom: 1px solid #ccc; padding-bottom: 0.5rem; }
nav a { margin-right: 1rem; }
h1, h2, h3 { line-height: 1.25; margin-top: 1.75rem; }
a { color: #0b5cad; }
code, pre { font: 0.9rem/1.4 Consolas, monospace; background: #f3f3f3; border-radius: 3px; }
code { padding: 0 0.2rem; overflow-wrap: anywhere; }
pre { padding: 0.75rem; overflow-x: auto; }
pre code { padding: 0; overflow-wrap: normal; }
table { border-collapse: collapse; }
th, td { border: 1px solid #ccc; padding: 0.25rem 0.5rem; text-align: left; vertical-align: top; }
img { max-width: 100%; }
"""

PAGE = """\
<!DOCTYPE html>
<html lang="en">
<head>
<meta charset="utf-8">
<meta name="viewport" content="width=device-width, initial-scale=1">
<title>{title}</title>
<link rel="stylesheet" href="{style}">
</head>
<body>
<nav>{navigation}</nav>
<main>
{body}</main>
</body>
</html>
"""


def anchor(heading, used):
    """The anchor of a heading, by the same rule as on the site that hosts the repository."""
    text = html.unescape(re.sub(r"<[^>]*>", "", heading)).strip().lower()
    name = re.sub(r"[^\w\- ]", "", text).replace(" ", "-")
    used[name] = used.get(name, -1) + 1
    return f"{name}-{used[name]}" if used[name] else name


def page_path(source):
    """Where the page of a document is in the archive."""
    if source == START:
        return "index.html"
    return "docs/" + posixpath.basename(source).lower().removesuffix(".md") + ".html"


def relative(place, source):
    """The address of something in the archive from the page of the document `source`."""
    return posixpath.relpath(place, posixpath.dirname(page_path(source)) or ".")


class Site:
    """All pages and pictures of the repository in `root`, for the release `version`."""

    def __init__(self, root, version):
        self.root = pathlib.Path(root)
        self.version = version
        names = sorted("docs/" + path.name for path in (self.root / "docs").iterdir())
        first = [name for name in (START, *OPERATORS) if name in names]
        others = [name for name in names if name.endswith(".md") and name not in first]
        self.documents = [*first, CHANGES, *others]
        self.pictures = [name for name in names if name.endswith(PICTURES)]
        self.places = {source: page_path(source) for source in self.documents}
        self.places.update({name: name for name in self.pictures})

    def target(self, source, address):
        """What a link of the document `source` becomes, or None if its target is not handed out."""
        parts = urllib.parse.urlsplit(address)
        if parts.scheme or not parts.path:
            return address
        name = posixpath.normpath(posixpath.join(posixpath.dirname(source), parts.path))
        if not (self.root / name).exists():
            raise ValueError(f"{source}: the link to {address} leads nowhere")
        if name not in self.places:
            return None
        fragment = f"#{parts.fragment}" if parts.fragment else ""
        return relative(self.places[name], source) + fragment

    def page(self, source):
        text = (self.root / source).read_text("utf-8")
        text = text.replace("repair-kit-VERSION", f"repair-kit-{self.version}")
        # --unsafe keeps the line breaks in tables.
        body = subprocess.run(["cmark-gfm", "--unsafe", "--extension", "table"], check=True, input=text,
                              capture_output=True, encoding="utf-8").stdout
        used = {}

        def heading(match):
            level, text = match.groups()
            return f'<h{level} id="{anchor(text, used)}">{text}</h{level}>'

        def link(match):
            address, title, text = match.groups(default="")
            target = self.target(source, html.unescape(address))
            return text if target is None else f'<a href="{html.escape(target)}"{title}>{text}</a>'

        def picture(match):
            target = self.target(source, html.unescape(match[1]))
            if target is None:
                raise ValueError(f"{source}: the picture {match[1]} is not in docs")
            return f'<img src="{html.escape(target)}"'

        body = re.sub(r"<h([1-6])>(.*?)</h\1>", heading, body, flags=re.DOTALL)
        body = re.sub(r'<a href="([^"]*)"( title="[^"]*")?>(.*?)</a>', link, body, flags=re.DOTALL)
        body = re.sub(r'<img src="([^"]*)"', picture, body)
        return PAGE.format(title=html.escape(self.title(source)), body=body,
                           style=relative(STYLE, source), navigation=self.navigation(source))

    def title(self, source):
        """The text of the document's first heading."""
        first = (self.root / source).read_text("utf-8").splitlines()[0]
        if not first.startswith("# "):
            raise ValueError(f"{source} does not begin with a heading")
        return first[2:]

    def navigation(self, source):
        return "\n".join(f'<a href="{relative(page_path(other), source)}">'
                         f"{html.escape(self.title(other))}</a>" for other in self.documents)

    def files(self):
        """The bytes of each page and picture by its place in the archive."""
        found = {page_path(source): self.page(source).encode("utf-8") for source in self.documents}
        found.update({name: (self.root / name).read_bytes() for name in self.pictures})
        found[STYLE] = STYLE_TEXT.encode("utf-8")
        return found
