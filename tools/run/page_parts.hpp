// What stands in every page: its looks, and the script that filters.
#pragma once

namespace qnm::run {

inline constexpr const char* page_style = R"css(
:root { color-scheme: light dark; --back: #fff; --text: #1c2330; --soft: #5a6475; --line: #d7dce4; --panel: #f5f7fa;
  --bar: #2f6fb5; --link: #1d5a9e; --bad: #b3261e; --long: #c2500c; --focus: #c2500c }
@media (prefers-color-scheme: dark) { :root { --back: #14181f; --text: #e4e8ef; --soft: #9aa5b6; --line: #343c49;
  --panel: #1c222c; --bar: #5b9be0; --link: #8bbcf2; --bad: #ff8f86; --long: #ffa365; --focus: #ffa365 } }
* { box-sizing: border-box }
body { margin: 0 auto; padding: 1rem clamp(.75rem, 3vw, 2rem) 4rem; max-width: 76rem; background: var(--back);
  color: var(--text); font: 15px/1.45 system-ui, "DejaVu Sans", sans-serif }
h1 { font-size: 1.35rem; margin: .4rem 0; overflow-wrap: anywhere }
h2 { font-size: 1.1rem; margin: 2rem 0 .5rem; padding-top: .6rem; border-top: 1px solid var(--line) }
h3 { font: 600 .9rem/1.3 inherit; font-size: .95rem; margin: 0 0 .2rem; overflow-wrap: anywhere }
p { margin: .3rem 0 .7rem; max-width: 60rem }
.soft, caption { color: var(--soft); font-size: .87rem }
caption { text-align: left; padding-bottom: .3rem }
a { color: var(--link); text-underline-offset: .15em }
:focus-visible { outline: 2px solid var(--focus); outline-offset: 2px }
nav { display: flex; flex-wrap: wrap; gap: .3rem 1rem; margin: .6rem 0 }
dl { display: grid; grid-template-columns: max-content 1fr; gap: .15rem 1rem; margin: .6rem 0 }
dt { color: var(--soft) }
dd { margin: 0; overflow-wrap: anywhere }
.scroll { overflow: auto; max-height: 34rem; border: 1px solid var(--line); border-radius: 4px }
table { border-collapse: collapse; width: 100%; font-variant-numeric: tabular-nums; font-size: .87rem }
th, td { padding: .22rem .6rem; text-align: left; vertical-align: top; white-space: nowrap }
thead th { position: sticky; top: 0; background: var(--panel); font-weight: 600; z-index: 1 }
tbody tr + tr > * { border-top: 1px solid var(--line) }
tbody th { font-weight: normal }
tfoot > tr > * { border-top: 2px solid var(--line); font-weight: 600 }
.n { text-align: right }
td.wide { white-space: normal; overflow-wrap: anywhere; min-width: 16rem }
.code, td.wide, tbody th { font-family: ui-monospace, "DejaVu Sans Mono", monospace; font-size: .82rem }
td.bad { color: var(--bad); font-weight: 600 }
td.bar { min-width: 7rem; width: 18%; vertical-align: middle }
td.bar svg { display: block; width: 100%; height: .8rem }
.bars { fill: var(--bar) }
.grid { display: grid; grid-template-columns: repeat(auto-fill, minmax(min(17rem, 100%), 1fr)); gap: 1rem }
.card { border: 1px solid var(--line); border-radius: 4px; padding: .6rem .7rem; background: var(--panel); min-width: 0 }
.card svg { display: block; width: 100%; max-width: 22rem; height: auto }
.card svg text { fill: var(--soft); font-size: 10px }
.axis { stroke: var(--line); fill: none }
details { margin: .5rem 0 }
summary { cursor: pointer; color: var(--link); font-size: .87rem }
.lanes { display: grid; grid-template-columns: max-content 1fr max-content; gap: .35rem .7rem; align-items: center;
  font-size: .82rem; font-variant-numeric: tabular-nums }
.lanes svg { display: block; width: 100%; height: 2rem; background: var(--panel); border: 1px solid var(--line) }
.lanes .ends { display: flex; justify-content: space-between; color: var(--soft) }
.long { fill: var(--long) }
.legend { display: inline-flex; gap: .2rem; align-items: center; margin-right: 1rem }
.legend svg { width: .9rem; height: .9rem }
#filter { position: sticky; top: 0; z-index: 2; padding: .4rem .7rem; background: var(--panel);
  border: 1px solid var(--focus); border-radius: 4px }
#filter button { font: inherit; margin-left: .7rem }
[hidden] { display: none !important }
@media (max-width: 40rem) { dl { gap: .15rem .6rem } th, td { padding: .2rem .4rem } .lanes { gap: .35rem .4rem }
  td.wide { min-width: 14rem } }
@media print { .scroll { max-height: none; overflow: visible } }
)css";

// Links of class f filter; without a script they lead to the place where the routine is shown.
inline constexpr const char* page_script = R"js(
'use strict';
(() => {
  const bar = document.getElementById('filter'), told = document.getElementById('filtered');
  const all = [...document.querySelectorAll('[data-r]:not(.f)')];
  let routine = null, octave = null;
  const show = (source) => {
    for (const e of all)
      e.hidden = (routine !== null && e.dataset.r !== routine) ||
                 (octave !== null && e.dataset.s !== undefined && e.dataset.s !== octave);
    for (const e of document.querySelectorAll('section')) {
      const rows = [...e.querySelectorAll('[data-r]:not(.f)')], none = e.querySelector('.none');
      if (none) none.hidden = !rows.length || rows.some((r) => !r.hidden);
    }
    bar.hidden = routine === null;
    told.textContent = routine === null ? '' : source.dataset.t;
  };
  document.addEventListener('click', (event) => {
    const link = event.target.closest('.f');
    if (!link) return;
    event.preventDefault();
    [routine, octave] = [link.dataset.r, link.dataset.s ?? null];
    show(link);
  });
  const clear = () => { routine = octave = null; show(); };
  document.getElementById('clear').addEventListener('click', clear);
  document.addEventListener('keydown', (event) => { if (event.key === 'Escape') clear(); });
})();
)js";

} // namespace qnm::run
