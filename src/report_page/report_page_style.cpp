// The page's style sheet and its one small script. Colours come in a light
// and a dark set, chosen by the reader's setting; every state that a colour
// tells is also told by a shape (fill, hatching, border) and by a word, so
// the page reads in grey print and for readers who don't tell the colours
// apart.
#include "report_page/report_page.h"

const char* const kReportPageStyle = R"CSS(
:root { color-scheme: light dark;
  --bg: #ffffff; --fg: #1d1d1f; --muted: #5f6368; --line: #c9ccd1; --card: #f6f7f9;
  --mounted: #2e7d32; --mounted-bg: #d7efd8; --idle: #8a6d00; --idle-bg: #fff3c4;
  --none: #6b7280; --none-bg: #eceef1; --bad: #b3261e; --bad-bg: #fde2df; --warn: #a15c00; --warn-bg: #ffe7c2;
  --link: #1a5fb4; }
@media (prefers-color-scheme: dark) { :root {
  --bg: #16181c; --fg: #e8eaed; --muted: #a0a6ad; --line: #3c4048; --card: #1f2227;
  --mounted: #81c784; --mounted-bg: #1f3a22; --idle: #f0cf62; --idle-bg: #3b3216;
  --none: #9aa0a6; --none-bg: #2a2d33; --bad: #ff8a80; --bad-bg: #47201d; --warn: #ffb74d; --warn-bg: #45311a;
  --link: #8ab4f8; } }
* { box-sizing: border-box; }
body { margin: 0 auto; max-width: 1400px; padding: 16px 24px 48px; background: var(--bg); color: var(--fg);
  font: 14px/1.45 system-ui, -apple-system, "Segoe UI", "DejaVu Sans", sans-serif; }
a { color: var(--link); }
code, pre, .mono { font-family: ui-monospace, "SF Mono", Menlo, "DejaVu Sans Mono", monospace; font-size: 12px; }
h1 { font-size: 22px; margin: 8px 0 4px; }
h2 { font-size: 18px; margin: 28px 0 8px; border-bottom: 1px solid var(--line); padding-bottom: 4px; }
h3 { font-size: 15px; margin: 0; }
.facts { display: grid; grid-template-columns: max-content 1fr; gap: 2px 16px; margin: 8px 0; }
.facts dt { color: var(--muted); }
.facts dd { margin: 0; }
.facts ul { margin: 0; padding-left: 18px; }
.glance { display: grid; grid-template-columns: repeat(auto-fit, minmax(280px, 1fr)); gap: 8px; margin: 12px 0; }
.glance div { border: 1px solid var(--line); border-left-width: 6px; border-radius: 6px; padding: 6px 10px; background: var(--card); }
.glance .bad { border-left-color: var(--bad); } .glance .warn { border-left-color: var(--warn); border-left-style: double; }
.glance .ok { border-left-color: var(--mounted); border-left-style: dotted; }
.glance p { margin: 2px 0; }
.legend { display: flex; flex-wrap: wrap; gap: 6px 18px; margin: 6px 0 10px; color: var(--muted); font-size: 13px; }
.legend span { display: inline-flex; align-items: center; gap: 6px; }
.swatch { display: inline-block; width: 26px; height: 14px; border-radius: 3px; }
.layout { display: grid; grid-template-columns: minmax(0, 3fr) minmax(260px, 1fr); gap: 20px; align-items: start; }
@media (max-width: 900px) { .layout { grid-template-columns: 1fr; } }
.disk { border: 1px solid var(--line); border-radius: 8px; padding: 10px 12px; margin: 0 0 14px; background: var(--card); }
.disk.container { margin-left: 28px; border-style: dashed; }
.disk.flagged { border: 2px solid var(--bad); }
.disk header { display: flex; flex-wrap: wrap; align-items: baseline; gap: 4px 12px; margin-bottom: 6px; }
.disk header .sub { color: var(--muted); }
.bar { display: flex; gap: 3px; height: 46px; margin: 6px 0; }
.seg { display: flex; flex-direction: column; justify-content: center; min-width: 0; overflow: hidden; padding: 2px 6px;
  border-radius: 4px; text-decoration: none; color: var(--fg); border: 2px solid; white-space: nowrap; }
.seg span { overflow: hidden; text-overflow: ellipsis; }
.seg .w { font-size: 11px; color: var(--muted); }
.mounted.seg { background: var(--mounted-bg); border-color: var(--mounted); border-style: solid; }
.not-mounted.seg { border-color: var(--idle); border-style: dashed;
  background: repeating-linear-gradient(135deg, var(--idle-bg) 0 6px, transparent 6px 12px); }
.not-mountable.seg { background: var(--none-bg); border-color: var(--none); border-style: dotted; }
.free.seg { border: 1px dashed var(--line); background: transparent; color: var(--muted); }
.seg.snapshot { border-radius: 14px; }
.seg.dup { box-shadow: inset 0 -6px 0 var(--bad); }
.mark::before { display: inline-block; width: 1.1em; font-weight: bold; }
.mounted .mark::before { content: "\25CF"; color: var(--mounted); }
.not-mounted .mark::before { content: "\25CB"; color: var(--idle); }
.not-mountable .mark::before { content: "\00D7"; color: var(--none); }
.cards { display: grid; grid-template-columns: repeat(auto-fill, minmax(250px, 1fr)); gap: 8px; margin-top: 8px; }
.volume { border: 1px solid var(--line); border-radius: 6px; padding: 6px 8px; background: var(--bg); }
.volume.mounted { border-left: 5px solid var(--mounted); }
.volume.not-mounted { border-left: 5px dashed var(--idle); }
.volume.not-mountable { border-left: 5px dotted var(--none); }
.volume.dup { outline: 2px solid var(--bad); }
.volume h4 { margin: 0 0 2px; font-size: 14px; overflow-wrap: anywhere; }
.volume dl { display: grid; grid-template-columns: max-content 1fr; gap: 0 8px; margin: 4px 0; font-size: 12px; }
.volume dt { color: var(--muted); } .volume dd { margin: 0; overflow-wrap: anywhere; }
.tag { display: inline-block; border-radius: 10px; padding: 0 7px; font-size: 11px; border: 1px solid var(--line);
  margin: 1px 2px 1px 0; white-space: nowrap; }
.tag.bad { background: var(--bad-bg); color: var(--bad); border-color: var(--bad); font-weight: bold; }
.tag.warn { background: var(--warn-bg); color: var(--warn); border-color: var(--warn); }
.tag.image, .tag.snapshot { border-style: dashed; }
.guids { margin: 4px 0 0; padding: 0; list-style: none; font-size: 12px; }
.guids li { overflow-wrap: anywhere; }
.flag { color: var(--bad); font-weight: bold; margin: 4px 0 0; font-size: 12px; }
.refs { margin: 4px 0 0; font-size: 12px; }
.refs ul { margin: 0; padding-left: 16px; }
aside { border: 1px solid var(--line); border-radius: 8px; padding: 8px 10px; background: var(--card); }
aside h3 { margin-bottom: 6px; }
table { border-collapse: collapse; width: 100%; font-size: 12px; }
th, td { text-align: left; vertical-align: top; padding: 3px 6px; border-bottom: 1px solid var(--line); }
th { color: var(--muted); font-weight: normal; }
td.ref { min-width: 260px; }
.res { display: inline-block; border-radius: 4px; padding: 0 6px; font-weight: bold; font-size: 12px; border: 1px solid; }
.res.identity { color: var(--mounted); background: var(--mounted-bg); }
.res.by-name { color: var(--warn); background: var(--warn-bg); border-style: dashed; }
.res.unknown-guid, .res.unresolvable { color: var(--bad); background: var(--bad-bg); border-style: double; border-width: 3px; }
.res.unknown-guid::before { content: "? "; } .res.unresolvable::before { content: "\00D7 "; }
.res.by-name::before { content: "\2248 "; } .res.identity::before { content: "\2713 "; }
.case { color: var(--muted); }
details > summary { cursor: pointer; font-weight: bold; margin: 6px 0; }
.refmap { width: 100%; height: auto; max-width: 1100px; display: block; margin: 8px 0 16px; }
.refmap text { fill: var(--fg); font-size: 12px; font-family: system-ui, "DejaVu Sans", sans-serif; }
.refmap .muted { fill: var(--muted); font-size: 11px; }
.refmap rect { fill: var(--card); stroke: var(--line); }
.refmap rect.sink { fill: var(--bad-bg); stroke: var(--bad); stroke-width: 2; }
.refmap path { fill: none; stroke-width: 2; }
.refmap .identity { stroke: var(--mounted); }
.refmap .by-name { stroke: var(--warn); stroke-dasharray: 8 4; }
.refmap .unknown-guid, .refmap .unresolvable { stroke: var(--bad); stroke-dasharray: 2 4; stroke-width: 2.5; }
.refmap .dot.identity { fill: var(--mounted); } .refmap .dot.by-name { fill: var(--warn); }
.refmap .dot.unknown-guid, .refmap .dot.unresolvable { fill: var(--bad); }
pre#text-report { white-space: pre; overflow: auto; max-height: 70vh; border: 1px solid var(--line); padding: 8px;
  background: var(--card); }
.note { color: var(--muted); font-size: 12px; }
@media print {
  body { max-width: none; padding: 0; font-size: 11px; }
  .layout { grid-template-columns: 1fr; }
  .disk, .volume, tr { break-inside: avoid; }
  pre#text-report { max-height: none; overflow: visible; white-space: pre-wrap; }
  a { color: inherit; }
}
)CSS";

// Opens the folded parts for printing (all but the text report) and folds
// them again afterwards. Without scripts the page loses nothing: every part
// opens by hand.
const char* const kReportPageScript = R"JS(
addEventListener("beforeprint", function () {
  document.querySelectorAll("details:not([open]):not(#text-report-section)").forEach(function (d) {
    d.setAttribute("data-opened-for-print", ""); d.open = true; });
});
addEventListener("afterprint", function () {
  document.querySelectorAll("details[data-opened-for-print]").forEach(function (d) {
    d.removeAttribute("data-opened-for-print"); d.open = false; });
});
)JS";
