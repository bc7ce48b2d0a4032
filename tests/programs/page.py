# The page of a report in a browser without a screen: no word on its console, no request, the numbers of the text, and a
# filter that changes what is shown. Pictures of it go to FOLDER, for people.
# usage: page.py QNM_RUN PROGRAM CHROMIUM FOLDER
import html
import html.parser
import os
import pathlib
import re
import subprocess
import sys
import tempfile

qnm_run, program, chromium, folder = sys.argv[1:]
work = tempfile.TemporaryDirectory()
page = pathlib.Path(work.name, "page.html")


def browse(file, *options):
    """What the browser said of a page, and its standard output."""
    result = subprocess.run(
        [chromium, "--headless", "--no-sandbox", "--disable-gpu", "--hide-scrollbars", "--enable-logging=stderr", "--v=0",
         "--user-data-dir=" + work.name + "/profile", *options, file.as_uri()],
        stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True, timeout=200, check=True)
    return result.stdout, [line for line in result.stderr.splitlines() if "CONSOLE" in line]


class Tables(html.parser.HTMLParser):
    """Rows of cells by the table's id; and whether each row is hidden."""

    def __init__(self, text):
        super().__init__()
        self.rows, self.hidden, self.headline, self.table, self.cell, self.at = {}, {}, "", None, None, ""
        self.feed(text)

    def handle_starttag(self, tag, attributes):
        attributes = dict(attributes)
        if tag == "table":
            self.table = attributes.get("id")
            self.rows[self.table], self.hidden[self.table] = [], []
        elif tag == "tr" and self.table:
            self.rows[self.table].append([])
            self.hidden[self.table].append("hidden" in attributes)
        elif tag in ("td", "th") and self.table:
            self.rows[self.table][-1].append("")
            self.cell = True
        self.at = attributes.get("id", "") if tag == "h1" else self.at

    def handle_endtag(self, tag):
        if tag in ("td", "th"):
            self.cell = None
        elif tag == "table":
            self.table = None
        elif tag == "h1":
            self.at = ""

    def handle_data(self, data):
        if self.cell:
            self.rows[self.table][-1][-1] += data
        elif self.at == "head":
            self.headline += data


text = subprocess.run([qnm_run, "--report", "--page=" + str(page), *program.split()], stdout=subprocess.DEVNULL,
                      stderr=subprocess.PIPE, text=True, check=True).stderr
source = page.read_text()
assert len(source) < 2_000_000, len(source)
assert "default-src 'none'" in source and not re.search(r"(src|href)=\"?(?!#)[^ >]*[:/]", source), "looks elsewhere"

# The browser has calls home of its own; those of a page it counts by the page.
counting = page.with_name("counting.html")
counting.write_text(source.replace("</body>", """<script>addEventListener('load', () => setTimeout(() =>
    document.body.dataset.requests = performance.getEntriesByType('resource').length, 200))</script></body>"""))
assert 'data-requests="0"' in browse(counting, "--dump-dom", "--virtual-time-budget=2000")[0], "requests"
dom, console = browse(page, "--dump-dom")
assert not console, console

tables = Tables(dom)
assert "qnm-run: " + tables.headline in text.splitlines(), tables.headline
passed_by = re.search(r"^passed by: (it takes .*)$", text, re.M)
assert f"<dt>passed by</dt><dd>{html.escape(passed_by[1])}</dd>" in dom, passed_by[0]


def text_rows(first):
    """The rows of the text's table that begins with this word, split as their columns stand."""
    lines = text.splitlines()
    start = next(i for i, line in enumerate(lines) if line.startswith(first))
    rows = []
    for line in lines[start:]:
        if not line:
            break
        rows.append(re.split(r"  +", line))
    return rows


shown = [[cell for i, cell in enumerate(row) if i != 7] for row in tables.rows["by-routine"]]  # but for the bar
assert [[c for c in row if c] for row in shown] == text_rows("routine"), (shown, text)
assert [[c for c in row if c] for row in tables.rows["bad"]] == text_rows("refused calls"), tables.rows["bad"]
calls, queries, refused = (int(n) for n in shown[-1][1:4])
bad = [row[:4] for row in tables.rows["bad"][1:]]
assert queries == 1 and bad == [["DGEMM", "2", "transb", "1"], ["DGEMM", "8", "lda", "1"], ["DGESV", "1", "n", "1"]], bad
assert len(tables.rows["longest"]) - 1 == min(200, calls), calls
assert sum(int(row[2]) for row in tables.rows["by-thread"][1:]) == calls + queries + refused
assert not any(any(rows) for rows in tables.hidden.values()), "something is hidden from the start"

# A click on the second routine's name, and on the one that shows all.
clicks = page.with_name("clicks.html")
second = shown[2][0]
for click, hidden in (("document.querySelectorAll('#by-routine .f')[1].click()", True),
                      ("document.querySelectorAll('#by-routine .f')[1].click(); document.getElementById('clear').click()",
                       False)):
    clicks.write_text(source.replace("</body>", "<script>" + click + "</script></body>"))
    dom, console = browse(clicks, "--dump-dom")
    assert not console, console
    filtered = Tables(dom)
    for table, column in (("by-routine", 0), ("longest", 3), ("bad", 0)):
        for row, is_hidden in list(zip(filtered.rows[table], filtered.hidden[table]))[1:]:
            other = row[column].split("(")[0] not in (second, "total")
            assert is_hidden == (hidden and other), (table, row, is_hidden)

# Without a script, all of it is there.
bare = Tables(re.sub(r"<script>.*?</script>", "", source, flags=re.S))
assert bare.rows == tables.rows

os.makedirs(folder, exist_ok=True)
for scheme, number in (("dark", 0), ("light", 1)):
    for width in (1280, 480):
        picture = pathlib.Path(folder, f"page-{scheme}-{width}.png")
        picture.unlink(missing_ok=True)
        browse(page, f"--blink-settings=preferredColorScheme={number}", f"--window-size={width},2400",
               f"--screenshot={picture}")
        assert picture.stat().st_size > 10_000, picture
print(f"{len(shown) - 2} routines; pictures in {folder}")
