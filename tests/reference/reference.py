#!/usr/bin/env python3
"""reference.py PAGES HTML LAYER: pages as a reader and man find them, built or installed; names come from the library."""
import collections
import gzip
import html
import os
import pathlib
import random
import re
import shutil
import subprocess
import sys
import tempfile
import unittest
import urllib.parse

PAGES, HTML, LAYER = pathlib.Path(sys.argv.pop(1)), pathlib.Path(sys.argv.pop(1)), sys.argv.pop(1)
INDEX = (HTML / "index.html").read_text()
INSTALLED = PAGES == pathlib.Path("/usr/share/man")


def run(*words, **more):
    return subprocess.run([str(word) for word in words], capture_output=True, text=True, check=False, **more)


def names_of(page):
    packed = pathlib.Path(f"{page}.gz")
    text = gzip.decompress(packed.read_bytes()).decode() if packed.exists() else page.read_text()
    return re.findall(r"^\.Nm (\S+)", text, re.M)


def item(text, word):
    """What stands behind the items of a list with this tag, as one line each."""
    found = re.findall(r"^\.It " + word + r"\n((?:[^.].*\n)+)", text, re.M)
    return [" ".join(lines.split()) for lines in found]


class Reference(unittest.TestCase):
    def test_each_exported_name_is_on_one_page(self):
        exported = {line.split()[2].split("@")[0] for line in run("nm", "-D", "--defined-only", LAYER).stdout.splitlines()}
        public = {name for name in exported
                  if not re.match(r"qnm_[a-z]+__|qnm_(blas|lapack|lapack_ps|trans)_errchk_", name)}
        counted = collections.Counter(name for page in PAGES.glob("man3/*") for name in names_of(page))
        self.assertGreater(len(public), 30000)
        self.assertEqual(sorted(public ^ set(counted)), [])
        self.assertEqual([name for name, count in counted.items() if count != 1], [])

    def test_man_finds_fifty_names_of_each_family(self):
        seed = int(os.environ.get("SEED", random.randrange(10**6)))
        families = collections.defaultdict(list)
        for chapter, pages in re.findall(r"<h2>(.*?)</h2><ul>(.*?)</ul>", INDEX, re.S):
            for page in re.findall(r'href="(.*?)\.html"', pages):
                families[chapter.split("/")[0]] += [(name, page) for name in names_of(PAGES / "man3" / page)]
        self.assertGreater(len(families), 8)
        with tempfile.TemporaryDirectory() as folder:
            if INSTALLED: # and known, as the system knows its pages
                folder = PAGES
            else:
                shutil.copytree(PAGES / "man3", pathlib.Path(folder) / "man3")
                os.chmod(folder, 0o755)
                self.assertEqual(run("mandb", "-q", "-c", "-u", folder).returncode, 0)
            for family, all_names in sorted(families.items()):
                drawn = random.Random(seed).sample(all_names, min(50, len(all_names)))
                for name, page in drawn:
                    said = run("man", "-w", name, env={**os.environ, "MANPATH": str(folder)})
                    self.assertEqual(pathlib.Path(said.stdout.strip().removesuffix(".gz")).name, page, f"{family}, {name}, SEED={seed}")
            said = run("apropos", "-a", "eigenvalues", "tridiagonal", "bisection", env={**os.environ, "MANPATH": str(folder)})
            self.assertIn("sstebz", said.stdout)

    def test_pages_are_clean(self):
        said = run("mandoc", "-Tlint", *sorted(PAGES.glob("man3/*")))
        self.assertEqual(said.stdout[:2000] + said.stderr[:2000], "")

    def test_a_page_says_what_is_published(self):
        getrf = (PAGES / "man3/sgetrf.3qnm").read_text()
        self.assertEqual(item(getrf, "4"), ["lda >= max(1,m)."])
        self.assertEqual(item(getrf, "-4"), ["a without NaN."])      # of the high level
        self.assertEqual(item(getrf, "-5"), ["lda >= n in row-major."])
        self.assertEqual(set(item(getrf, "-1")), {"matrix_layout is 101 (row-major) or 102 (column-major)."})
        self.assertIn("its argument p as -(p+1).", " ".join(getrf.split()))
        self.assertEqual(item(getrf, "-1010"), [])                    # it has no workspace
        self.assertEqual(len(item(getrf, "-1011")), 1)
        self.assertIn("told 1102", item(getrf, "-1023")[0])
        self.assertIn("diagonal is zero", item(getrf, "above 0, i")[0])
        self.assertIn("array of integers, min(m,n) of them, written.", item(getrf, 'Fa "ipiv"')[0].lower())
        self.assertIn(".Sh STANDARDS\nLAPACK 3.12.\n", getrf)
        self.assertIn("The engine of the open core carries\n.Fn qnm_lapack_sgetrf", getrf)
        self.assertIn("SGETRF(%d,%d,%p,%d,%p,%d)", getrf)
        self.assertIn("    real a(lda,*)\n", getrf)
        geev = (PAGES / "man3/sgeev.3qnm").read_text()
        self.assertIn("-1 asks for the sizes of all workspaces", item(geev, 'Fa "lwork"')[0])
        self.assertEqual(len(item(geev, "-1010")), 1)
        gemm = (PAGES / "man3/sgemm.3qnm").read_text()
        tested = gemm[gemm.rindex("cblas_sgemm, cblas_dgemm, cblas_cgemm, cblas_zgemm:\n"):]
        self.assertEqual(re.findall(r"^\.It (\d+)", tested, re.M), "2 3 4 5 6 1 9 11 14".split())
        self.assertEqual(item(tested, "9"), ["lda >= max(1,nrowa); lda >= max(1,transa is N ? k : m) in row-major."])
        self.assertEqual(item(tested, "2"), ["transa is 111 (N), 112 (T) or 113 (C)."])
        self.assertIn("hands on to the routine: transb, transa, n, m, k, alpha, b, ldb, a,", " ".join(gemm.split()))
        self.assertIn("    real a(lda,*)\n", gemm)
        self.assertIn(".Sh STANDARDS\nBLAS 1990.\n", gemm)
        dotc = " ".join((PAGES / "man3/cdotc.3qnm").read_text().split())
        self.assertIn('.It Fa "result" Where the result is written.', dotc)
        self.assertIn("need the adapter.", dotc)
        self.assertIn(".Vt \"CBLAS_INDEX\" ,\ncounted from 0.\n", (PAGES / "man3/isamax.3qnm").read_text())

    def test_links_lead_to_pages(self):
        pages = {page.name for page in HTML.glob("*")}
        self.assertEqual(len(pages), len(list(PAGES.glob("man3/*"))) + 2)
        for page in HTML.glob("*.html"):
            for link in re.findall(r'href="(.*?)(?:#.*?)?"', page.read_text()):
                self.assertIn(link, pages | {""}, page.name)
        self.assertIn('href="index.html"', (HTML / "sgemm.3qnm.html").read_text())

    def test_the_index_has_all_pages_and_asks_nobody(self):
        linked = re.findall(r'<a href="([^"]*)\.html">', INDEX)
        self.assertEqual(sorted(linked), sorted(page.name for page in PAGES.glob("man3/*")))
        self.assertEqual(re.findall(r"https?:|<link|src=|@import", INDEX), [])

    @unittest.skipUnless(shutil.which("chromium"), "no chromium here")
    def test_the_index_searches_names_titles_and_codes(self):
        for words, wanted, note in [("dgemm_64", "sgemm", ">also dgemm_64<"), ("definite band cholesky blocked", "spbtrf", ""),
                                    ("lapacke_dgetrf_work -5", "sgetrf", "-5: lda >= n in row-major"),
                                    ("dgetrf_ 99", None, "")]:
            with tempfile.TemporaryDirectory() as folder:
                page = (HTML / "index.html").resolve().as_uri() + "#" + urllib.parse.quote(words)
                dom = run("chromium", "--headless", "--no-sandbox", "--disable-gpu", f"--user-data-dir={folder}",
                          "--virtual-time-budget=5000", "--dump-dom", page).stdout
            shown = re.findall(r"<li>.*?>(.*?)</a>", dom)
            self.assertEqual(shown[:1], [wanted] if wanted else [], words)
            self.assertLess(len(shown), 4, words)
            self.assertIn(f">{len(shown)} of {INDEX.count('<li>')} pages<", dom, words)
            self.assertIn(note, html.unescape(dom), words)


if __name__ == "__main__":
    unittest.main()
