"""The documents as HTML: every link and picture of the pages leads to something that is there."""

import collections
import html.parser
import pathlib
import posixpath
import tempfile
import unittest
import urllib.parse

from release_bench import ROOT

import html_pages


class Page(html.parser.HTMLParser):
    """What a browser would find in a page."""

    VOID = {"meta", "link", "img", "br", "hr"}

    def __init__(self, content):
        super().__init__()
        self.addresses, self.anchors, self.tags, self.open = [], [], collections.Counter(), []
        self.text = ""
        self.feed(content.decode("utf-8"))
        self.close()
        assert not self.open, self.open

    def handle_starttag(self, tag, attrs):
        self.tags[tag] += 1
        for name, value in attrs:
            if name in ("href", "src"):
                self.addresses.append(value)
            elif name == "id":
                self.anchors.append(value)
            elif name.startswith("on"):
                raise AssertionError(f"{name} is script")
        if tag not in self.VOID:
            self.open.append(tag)

    def handle_startendtag(self, tag, attrs):
        assert tag in self.VOID, tag
        self.handle_starttag(tag, attrs)

    def handle_endtag(self, tag):
        assert self.open.pop() == tag, tag

    def handle_data(self, data):
        self.text += data


class OwnPagesTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.files = html_pages.Site(ROOT, "1.2.3").files()
        cls.pages = {name: Page(content) for name, content in cls.files.items()
                     if name.endswith(".html")}

    def test_every_document_has_a_page(self):
        documents = {path.stem for path in (ROOT / "docs").glob("*.md")} - {"start"}
        self.assertEqual(set(self.pages), {"index.html", "docs/changelog.html",
                                           *(f"docs/{name}.html" for name in documents)})

    def test_every_link_and_picture_is_there(self):
        count = 0
        for name, page in self.pages.items():
            for address in page.addresses:
                parts = urllib.parse.urlsplit(address)
                with self.subTest(page=name, address=address):
                    self.assertEqual((parts.scheme, parts.netloc), ("", ""))
                    target = posixpath.normpath(posixpath.join(posixpath.dirname(name), parts.path)) \
                        if parts.path else name
                    self.assertIn(target, self.files)
                    if parts.fragment:
                        self.assertIn(parts.fragment, self.pages[target].anchors)
                count += 1
        # The navigation alone has dozens.
        self.assertGreater(count, 100)

    def test_anchors_are_unique(self):
        for name, page in self.pages.items():
            self.assertEqual(len(page.anchors), len(set(page.anchors)), name)

    def test_pictures_are_shown(self):
        self.assertEqual(self.pages["docs/kit.html"].tags["img"], 1)
        self.assertEqual(self.pages["docs/operators-guide.html"].tags["img"], 1)

    def test_every_page_can_be_reached_from_the_first(self):
        first = {urllib.parse.urlsplit(address).path for address in self.pages["index.html"].addresses}
        self.assertLessEqual(set(self.pages) - {"index.html"}, first)

    def test_pages_need_no_script_and_no_network(self):
        for name, page in self.pages.items():
            self.assertFalse({"script", "iframe", "object", "form"} & set(page.tags), name)
        self.assertNotIn(b"url(", self.files["docs/style.css"])
        self.assertNotIn(b"@import", self.files["docs/style.css"])

    def test_tables_and_line_breaks_are_kept(self):
        messages = self.pages["docs/messages.html"]
        self.assertGreater(messages.tags["table"], 5)
        self.assertGreater(messages.tags["br"], 0)
        self.assertNotIn("|---|", messages.text)

    def test_the_first_page_names_the_archive(self):
        self.assertIn("repair-kit-1.2.3.zip", self.pages["index.html"].text)
        self.assertNotIn("VERSION", self.pages["index.html"].text)


class ConversionTest(unittest.TestCase):
    def setUp(self):
        scratch = tempfile.TemporaryDirectory()
        self.addCleanup(scratch.cleanup)
        self.root = pathlib.Path(scratch.name)
        (self.root / "docs").mkdir()
        (self.root / "docs" / "picture.png").write_bytes(b"PNG")
        (self.root / "source.cpp").touch()
        self.write("docs/start.md", "# Start\n")
        self.write("CHANGELOG.md", "# Changes\n")

    def write(self, name, text):
        (self.root / name).write_text(text, "utf-8")

    def body(self, text, name="docs/page.md"):
        self.write(name, "# Title\n" + text)
        page = html_pages.Site(self.root, "1").files()[html_pages.page_path(name)].decode("utf-8")
        return page.split("</h1>\n")[1].split("</main>")[0].strip()

    def test_links_to_documents_become_links_to_pages(self):
        self.write("docs/other.md", "# Other\n")
        self.assertEqual(self.body("[a *b*](other.md#part)"),
                         '<p><a href="other.html#part">a <em>b</em></a></p>')
        self.assertEqual(self.body("[a](start.md)"), '<p><a href="../index.html">a</a></p>')
        self.assertEqual(self.body("[a](../CHANGELOG.md)"), '<p><a href="changelog.html">a</a></p>')
        self.assertEqual(self.body("[a](other.md)", "docs/start.md"),
                         '<p><a href="docs/other.html">a</a></p>')
        self.assertEqual(self.body("[a](docs/other.md)", "CHANGELOG.md"),
                         '<p><a href="other.html">a</a></p>')

    def test_links_within_the_page_stay(self):
        self.assertEqual(self.body("[a](#part)"), '<p><a href="#part">a</a></p>')

    def test_links_to_what_is_not_handed_out_become_text(self):
        self.assertEqual(self.body("See [the *source*](../source.cpp)."), "<p>See the <em>source</em>.</p>")

    def test_links_with_a_title(self):
        self.write("docs/other.md", "# Other\n")
        self.assertEqual(self.body('[a](other.md "B & <c>")'),
                         '<p><a href="other.html" title="B &amp; &lt;c&gt;">a</a></p>')
        self.assertEqual(self.body('[a](../source.cpp "B")'), "<p>a</p>")

    def test_links_to_nothing_are_refused(self):
        with self.assertRaisesRegex(ValueError, "docs/page.md: the link to missing.md leads nowhere"):
            self.body("[a](missing.md)")

    def test_pictures_are_found_from_every_page(self):
        self.assertEqual(self.body("![A & B](picture.png)"),
                         '<p><img src="picture.png" alt="A &amp; B" /></p>')
        self.assertEqual(self.body("![A](picture.png)", "docs/start.md"),
                         '<p><img src="docs/picture.png" alt="A" /></p>')

    def test_pictures_outside_the_documents_are_refused(self):
        with self.assertRaisesRegex(ValueError, "the picture ../source.cpp is not in docs"):
            self.body("![A](../source.cpp)")

    def test_headings_have_the_anchors_that_documents_link_to(self):
        for heading, anchor in [("What `build` does", "what-build-does"),
                                ("Pictures, icon and color", "pictures-icon-and-color"),
                                ("1. Unpack the kit", "1-unpack-the-kit"), ("A & B", "a--b"),
                                ("Größe_1 [link](#x)", "größe_1-link")]:
            self.assertTrue(self.body("## " + heading).startswith(f'<h2 id="{anchor}">'), heading)

    def test_equal_headings_have_different_anchors(self):
        self.assertRegex(self.body("## A\n## A\n### A"), '(?s)"a".*"a-1".*"a-2"')


if __name__ == "__main__":
    unittest.main()
