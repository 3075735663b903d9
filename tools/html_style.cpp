// The look of a page: quiet greys, so that the images and what is drawn on them are the only colour. What a colour
// tells is always told by a word or a sign too.
#include "tools/html_assets.h"

namespace qvtool {

const char* pageStyle() {
    return R"css(
:root { color-scheme: light; --ink: #1b232b; --soft: #55616d; --line: #c8d0d8; --wash: #f3f5f7; --focus: #0b57d0; }
* { box-sizing: border-box; }
body { margin: 0 auto; padding: 0 1.2rem 4rem; max-width: 92rem; color: var(--ink); background: #fff;
  font: 15px/1.45 system-ui, "Segoe UI", "DejaVu Sans", sans-serif; }
.skip { position: absolute; left: -999rem; }
.skip:focus { left: 1rem; top: .5rem; background: #fff; padding: .4rem .8rem; z-index: 2; }
:focus-visible { outline: 3px solid var(--focus); outline-offset: 2px; }
h1 { font-size: 1.35rem; margin: 1rem 0 0; overflow-wrap: anywhere; }
h2 { font-size: 1.15rem; margin: 0 0 .5rem; }
h3 { font-size: 1rem; margin: 1rem 0 .3rem; }
.subtitle { margin: .1rem 0 .8rem; color: var(--soft); }
.verdict { font-size: 1.15rem; font-weight: 600; margin: 0 0 .4rem; padding: .5rem .8rem; border-left: .5rem solid; }
.verdict.good { border-color: #18794e; background: #eaf6f0; }
.verdict.bad { border-color: #b42318; background: #fdf0ee; }
.remark { margin: 0; padding: .15rem .8rem; border-left: .5rem solid #9a6700; background: #fff8e5; }
.summary { margin-top: .4rem; }
.findings { margin: .3rem 0 1rem; padding-left: 1.3rem; }
.findings li { margin: .15rem 0; overflow-wrap: anywhere; }
.summary { display: grid; grid-template-columns: minmax(0, 1fr) minmax(19rem, 27rem); gap: 1.2rem; align-items: start; }
.record { margin-top: 1.6rem; padding-top: 1rem; border-top: 1px solid var(--line); display: grid;
  grid-template-columns: minmax(0, 30rem) minmax(0, 1fr); gap: .4rem 1.2rem; align-items: start; }
.record > h2 { grid-column: 1 / -1; }
.wide, .record.flat > .side { grid-column: 1 / -1; }
.side { min-width: 0; }
figure { margin: 0 0 .8rem; }
figcaption { font-weight: 600; margin-bottom: .2rem; }
.layers { display: flex; flex-wrap: wrap; gap: .35rem; margin-bottom: .4rem; }
button { font: inherit; font-size: .87rem; color: var(--ink); background: #fff; border: 1px solid #8894a0;
  border-radius: .3rem; padding: .15rem .55rem; cursor: pointer; }
button[aria-pressed="true"] { background: #dce8f8; border-color: #33557f; }
button[aria-pressed="false"] { color: var(--soft); text-decoration: line-through; }
button:hover { border-color: #000; }
button::before { font-family: monospace; }
button[aria-pressed="true"]::before { content: "\2713  "; }
button[aria-pressed="false"]::before { content: "\2013  "; }
button i { display: inline-block; width: .8em; height: .8em; border: 1px solid #333; vertical-align: -.05em; }
kbd { font: .8em monospace; border: 1px solid var(--line); border-radius: .2rem; padding: 0 .25em; background: #fff;
  color: var(--soft); text-decoration: none; display: inline-block; }
.view > svg { display: block; width: 100%; height: auto; max-height: 82vh; min-height: 9rem; background: #20262c;
  touch-action: pan-y; cursor: crosshair; }
.view.main > svg { max-height: max(22rem, calc(100vh - 17.5rem)); }
.view.dragging > svg { cursor: grabbing; }
.view.near > svg image, .view.near > svg use { image-rendering: pixelated; }
.view .icon { transform-box: fill-box; transform-origin: center; }
.where { display: block; min-height: 1.5em; font: .87rem/1.5 monospace; color: var(--ink); overflow-wrap: anywhere; }
.help { font-size: .82rem; color: var(--soft); margin: .1rem 0; }
.plot { max-width: 60rem; }
.plot svg { display: block; width: 100%; height: auto; background: #fff; border: 1px solid var(--line); }
.plot text { font: 12px system-ui, "Segoe UI", "DejaVu Sans", sans-serif; }
.plot text:not(.caption) { fill: var(--ink); }
.plot .caption { font-weight: 600; stroke: #fff; stroke-width: 3px; paint-order: stroke; }
.plot .grid { stroke: #e4e8ec; }
.plot .axis { stroke: #55616d; }
.plot .curve { fill: none; stroke-width: 1.6; stroke-linejoin: round; }
.plot .mark { stroke-width: 1.6; }
.plot .level { stroke-width: 1.4; stroke-dasharray: 6 4; }
.plot .range { fill-opacity: .13; stroke-opacity: .55; }
.plot .point { fill: #fff; stroke-width: 2; }
.legend { list-style: none; display: flex; flex-wrap: wrap; gap: .1rem 1.2rem; margin: .3rem 0; padding: 0;
  font-size: .87rem; }
.legend svg { display: inline-block; width: 30px; border: 0; vertical-align: middle; }
.table { overflow: auto; max-height: 34rem; margin: 0 0 .8rem; }
.summary .table { max-height: 16rem; }
table { border-collapse: collapse; font-size: .87rem; font-variant-numeric: tabular-nums; }
caption { text-align: left; white-space: nowrap; font-weight: 600; padding-bottom: .2rem; font-size: .95rem; }
th, td { padding: .12rem .6rem; border-bottom: 1px solid var(--line); text-align: left; vertical-align: top;
  overflow-wrap: break-word; max-width: 34rem; }
th { background: var(--wash); position: sticky; top: 0; }
td.n, th.n { text-align: right; }
td.n { white-space: nowrap; }
dl { margin: 0 0 .8rem; display: grid; grid-template-columns: max-content minmax(0, 1fr); gap: .1rem .9rem; }
dl.narrow { display: block; }
dt { color: var(--soft); }
dd { margin: 0; white-space: pre-line; overflow-wrap: anywhere; }
.none { color: var(--soft); }
nav ol { columns: 17rem; margin: .3rem 0; padding-left: 1.8rem; }
a { color: #0b4fb3; }
details summary { cursor: pointer; color: var(--soft); font-size: .87rem; }
@media (max-width: 60rem) { .summary, .record { grid-template-columns: minmax(0, 1fr); } }
@media print {
  body { font-size: 10pt; padding: 0; max-width: none; }
  .skip, .layers, .where, .help, nav { display: none; }
  .summary, .record { display: block; }
  .record, figure, tr { break-inside: avoid; }
  .view > svg, .view.main > svg { max-height: 18cm; }
  .table, .summary .table { max-height: none; overflow: visible; }
  th { position: static; }
  * { print-color-adjust: exact; -webkit-print-color-adjust: exact; }
}
)css";
}

}  // namespace qvtool
