#include "page_frame.h"

namespace norvane::driver {

// Lists outside of the window are not laid out, so tens of thousands of rows open at once; a
// printer gets all of them.
const char* const page_style = R"css(
:root { color-scheme: light dark; --back: #fff; --text: #1c1c22; --soft: #5b5b68; --line: #d9d9e0;
  --bar: #dde7f7; --link: #1a56b0; --bad: #b3261e; --mark: #fff2c4; }
@media screen and (prefers-color-scheme: dark) { :root { --back: #17171c; --text: #ececf1; --soft: #a3a3b2;
  --line: #3a3a45; --bar: #2b3c58; --link: #8ab4f8; --bad: #ff8a80; --mark: #4a3f16; } }
* { box-sizing: border-box; }
body { margin: 0 auto; max-width: 72rem; padding: 0 1.2rem 4rem; background: var(--back);
  color: var(--text); font: 16px/1.45 system-ui, "DejaVu Sans", sans-serif; }
header { position: sticky; top: 0; z-index: 2; background: var(--back); padding: .7rem 0 .5rem;
  border-bottom: 1px solid var(--line); }
h1 { font-size: 1.35rem; margin: 0 0 .3rem; overflow-wrap: anywhere; }
h2 { font-size: 1.15rem; margin: 2.2rem 0 .6rem; } section { scroll-margin-top: 6rem; }
nav a { margin-right: 1rem; }
#search { width: min(26rem, 100%); padding: .35rem .6rem; font: inherit; color: inherit;
  background: transparent; border: 1px solid var(--soft); border-radius: .4rem; margin: .4rem .6rem 0 0; }
a { color: var(--link); text-decoration: none; } a:hover { text-decoration: underline; }
:focus-visible { outline: 2px solid var(--link); outline-offset: 2px; }
code, pre, .path { font-family: ui-monospace, "DejaVu Sans Mono", monospace; font-size: .88em; }
pre { margin: .2rem 0; color: var(--soft); white-space: pre-wrap; overflow-wrap: anywhere; }
code, .path { overflow-wrap: anywhere; }
dl { display: grid; grid-template-columns: repeat(auto-fill, minmax(9.5rem, 1fr)); gap: .8rem; margin: 0; }
dl div { border: 1px solid var(--line); border-radius: .5rem; padding: .5rem .8rem; }
dt { color: var(--soft); font-size: .85rem; } dd { margin: 0; font-size: 1.35rem; }
ul.rows { list-style: none; margin: 0; padding: 0; }
ul.rows > li { border-top: 1px solid var(--line); padding: .55rem 0; scroll-margin-top: 8rem; }
ul.many { content-visibility: auto; contain-intrinsic-size: auto 550rem; }
ul.rows > li:target { background: var(--mark); }
.soft { color: var(--soft); font-size: .88rem; } .bad { color: var(--bad); }
.bar { display: flex; flex-wrap: wrap; gap: 3px; margin: .3rem 0; }
.bar span { flex: 1 1 auto; min-width: 2rem; max-width: 100%; padding: .1rem .5rem; background: var(--bar);
  border-radius: .25rem; text-align: center; font-size: .84rem; overflow-wrap: anywhere; }
.bar .no { background: transparent; border: 1px dashed var(--bad); color: var(--bad); }
#graph { overflow: auto; max-height: 85vh; border: 1px solid var(--line); border-radius: .5rem; }
#graph svg { display: block; margin: auto; } #graph text { fill: var(--text); }
#graph [stroke="black"] { stroke: var(--soft); } #graph polygon[fill="white"] { fill: none; }
#graph a:hover text { text-decoration: underline; }
#grid { overflow: auto; max-height: 75vh; }
#grid table { border-collapse: collapse; font-size: .82rem; }
#grid th { font-weight: normal; text-align: left; background: var(--back); position: sticky; }
#grid thead th { top: 0; vertical-align: bottom; }
/* Of a long path the end is shown, which tells it from its neighbors. */
#grid thead a { writing-mode: vertical-rl; transform: rotate(180deg); max-height: 20rem; overflow: hidden;
  display: inline-flex; justify-content: flex-end; white-space: nowrap; }
#grid tbody th { left: 0; padding-right: .6rem; white-space: nowrap; }
#grid td { border: 1px solid var(--line); min-width: 1.5rem; text-align: center; }
#grid .on { background: var(--bar); }
.skip { position: absolute; left: -99rem; } .skip:focus { position: static; }
@media print { nav, .search, #matrix, .skip { display: none; } header { position: static; }
  ul.many { content-visibility: visible; } #graph { max-height: none; border: 0; overflow: visible; }
  #graph svg { max-width: 100%; height: auto; } ul.rows > li { break-inside: avoid; } }
)css";

const char* const page_script = R"js(
(function () {
  'use strict';
  const search = document.getElementById('search'), count = document.getElementById('count');
  const grid = document.getElementById('grid');
  const lists = ['variables', 'rules'].map(name => [...document.querySelectorAll('#' + name + ' li')]);
  const texts = new Map();
  const mostRows = 60, mostColumns = 60;

  function holds(row, words) {
    if (!texts.has(row)) texts.set(row, row.textContent.toLowerCase());
    return words.every(word => texts.get(row).includes(word));
  }
  function cell(kind, parent) { return parent.appendChild(document.createElement(kind)); }
  function link(parent, id, text) {
    const made = cell('a', parent);
    made.href = '#' + id;
    made.textContent = text;
  }
  function showMatrix() {
    const found = lists[1].filter(row => !row.hidden), rows = found.slice(0, mostRows);
    const touched = rows.map(row => new Set(row.dataset.v.split(' ').filter(v => v)));
    const all = [...new Set(touched.flatMap(set => [...set]))].sort((a, b) => a - b);
    const columns = all.slice(0, mostColumns);
    grid.textContent = '';
    if (found.length > rows.length || all.length > columns.length)
      cell('p', grid).textContent = 'Shown are ' + rows.length + ' of ' + found.length + ' rules and ' +
        columns.length + ' of their ' + all.length + ' variables: search to see others.';
    const table = cell('table', grid), head = cell('tr', cell('thead', table));
    cell('th', head);
    for (const v of columns)
      link(cell('th', head), 'v' + v, document.querySelector('#v' + v + ' .path').textContent);
    const body = cell('tbody', table);
    rows.forEach((row, i) => {
      const line = cell('tr', body);
      link(cell('th', line), row.id, row.id.slice(1));
      for (const v of columns) {
        const on = touched[i].has(v), td = cell('td', line);
        if (on) { td.className = 'on'; td.textContent = '●'; }
      }
    });
  }
  function find() {
    const words = search.value.toLowerCase().split(/\s+/).filter(word => word);
    const found = lists.map(rows => rows.filter(row => !(row.hidden = !holds(row, words))).length);
    count.textContent = words.length ? found[0] + ' variables, ' + found[1] + ' rules' : '';
    showMatrix();
  }
  function reveal() {
    const row = document.getElementById(decodeURIComponent(location.hash.slice(1)));
    if (!row || !row.hidden) return;
    search.value = '';
    find();
    row.scrollIntoView();
  }
  let waiting;
  search.addEventListener('input', () => { clearTimeout(waiting); waiting = setTimeout(find, 120); });
  addEventListener('hashchange', reveal);
  addEventListener('keydown', event => {
    if (event.key === '/' && event.target !== search) { event.preventDefault(); search.focus(); }
    if (event.key === 'Escape' && search.value) { search.value = ''; find(); }
  });
  showMatrix();
})();
)js";

} // namespace norvane::driver
