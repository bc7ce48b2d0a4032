// The list of all pages, with a search over names, titles and codes: one file, its data within.
#include "generate/text.hpp"
#include "page.hpp"

namespace qnm::reference {

using namespace catalogue;

namespace {

/// Text for a document or an attribute.
std::string escaped(const std::string& text)
{
    std::string out;
    for (const char c : text)
        out += c == '<'   ? "&lt;"
               : c == '>' ? "&gt;"
               : c == '&' ? "&amp;"
               : c == '"' ? "&quot;"
                          : std::string(1, c);
    return out;
}

/// A string of the script's; no tag can end the script.
std::string literal(const std::string& text)
{
    std::string out = "\"";
    for (const char c : text)
        out += c == '"' || c == '\\' ? std::string("\\") + c : c == '<' ? "\\u003c" : std::string(1, c);
    return out + "\"";
}

/// "blas/level2" of a table.
std::string chapter(const Page& page)
{
    return page.told->table.substr(0, page.told->table.rfind('.'));
}

/// What the script knows of a page: its list item has the rest.
std::string data(const Page& page)
{
    std::string codes;
    for (const auto& [code, text] : page.codes())
        codes += (codes.empty() ? "" : ",") + ("[" + std::to_string(code) + "," + literal(text) + "]");
    return "[" + literal(generate::joined(page.names, " ")) + ",[" + codes + "]]";
}

constexpr const char* head = R"(<!DOCTYPE html>
<html lang="en">
<meta charset="utf-8">
<meta name="viewport" content="width=device-width, initial-scale=1">
<meta http-equiv="Content-Security-Policy" content="default-src 'none'; style-src 'unsafe-inline'; script-src 'unsafe-inline'">
<title>Reference</title>
<style>
:root { color-scheme: light dark; }
body { font: 1rem/1.4 sans-serif; max-width: 60rem; margin: 1rem auto; padding: 0 1rem; }
input { font: inherit; width: 100%; box-sizing: border-box; padding: .4rem; }
h2 { font-size: 1.1rem; margin: 1.2rem 0 .3rem; }
ul { list-style: none; margin: 0; padding: 0; }
li { padding: .1rem 0; }
small { opacity: .75; display: block; }
</style>
<h1>Reference</h1>
<label>Names, words of titles, codes: <input id="words" type="search" autofocus
 placeholder="dgemm_64    cholesky band    dgemm 8"></label>
<p id="count" role="status">)";

constexpr const char* tail = R"(
const items = [...document.querySelectorAll('li')];
const all = items.map((item, i) => ({ item, names: data[i][0].toLowerCase().split(' '), codes: data[i][1],
    title: item.textContent.toLowerCase(), note: null }));
const input = document.getElementById('words'), count = document.getElementById('count');
// A word is part of a name or of a title, or a number that is a code. A whole name and a code are told. Null: it is nowhere.
function found(page, word) {
    const codes = /^-?\d+$/.test(word) ? page.codes.filter(code => code[0] === Number(word)) : [];
    const named = page.title.includes(word) || page.names.some(name => name.includes(word));
    const also = page.names.includes(word) && !page.title.startsWith(word + ' ') ? ['also ' + word] : [];
    return codes.length || named ? [...also, ...codes.map(code => code[0] + ': ' + code[1])] : null;
}
function search() {
    const words = input.value.toLowerCase().split(/\s+/).filter(Boolean);
    let shown = 0;
    for (const page of all) {
        const each = words.map(word => found(page, word));
        const ok = !each.includes(null);
        page.item.hidden = !ok;
        if (page.note) page.note.remove();
        page.note = null;
        const notes = each.flatMap(what => what || []);
        if (ok && notes.length) {
            page.note = document.createElement('small');
            page.note.textContent = notes.join('; ');
            page.item.append(page.note);
        }
        shown += ok;
    }
    for (const part of document.querySelectorAll('section'))
        part.hidden = !part.querySelector('li:not([hidden])');
    count.textContent = shown + ' of ' + all.length + ' pages';
}
input.addEventListener('input', () => { history.replaceState(null, '', '#' + encodeURIComponent(input.value)); search(); });
input.value = decodeURIComponent(location.hash.slice(1));
search();
</script>
)";

} // namespace

std::string index_html(const std::vector<Page>& pages)
{
    std::string text = head + std::to_string(pages.size()) + " pages</p>\n", last, values;
    for (const Page& page : pages) {
        if (chapter(page) != last)
            text += (last.empty() ? "" : "</ul></section>\n") + ("<section><h2>" + escaped(chapter(page))) +
                    "</h2><ul>\n";
        last = chapter(page);
        text += "<li><a href=\"" + escaped(page.file()) + ".html\">" + escaped(page.name()) + "</a> " +
                escaped(page.told->title) + "\n";
        values += (values.empty() ? "" : ",\n") + data(page);
    }
    return text + (last.empty() ? "" : "</ul></section>\n") + "<script>\nconst data = [\n" + values + "];" +
           tail;
}

} // namespace qnm::reference
