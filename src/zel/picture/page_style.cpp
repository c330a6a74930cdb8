#include "picture/page.hpp"

namespace zel_tool {

const char* const pageStyle = R"css(
:root {
  color-scheme: light dark;
  --paper: #fafaf8; --card: #ffffff; --ink: #1e2528; --quiet: #5f6c72; --line: #dde2e1;
  --accent: #2c6e8e; --fill: #a9c6d3; --band: #eef3f5;
}
@media (prefers-color-scheme: dark) {
  :root {
    --paper: #14181a; --card: #1c2225; --ink: #dde4e6; --quiet: #94a2a8; --line: #2f383c;
    --accent: #7bbad6; --fill: #3d6577; --band: #232c30;
  }
}
* { box-sizing: border-box; }
body {
  margin: 0 auto; padding: 2rem 1.25rem 3rem; max-width: 76rem;
  background: var(--paper); color: var(--ink);
  font: 16px/1.5 system-ui, -apple-system, "Segoe UI", "Noto Sans", sans-serif;
  overflow-wrap: break-word;
}
h1 { margin: 0; font-size: 1.6rem; font-weight: 600; line-height: 1.25; }
h2 { margin: 0 0 1rem; font-size: 1.15rem; font-weight: 600; }
h3 { margin: 1.5rem 0 .75rem; font-size: 1rem; font-weight: 600; color: var(--quiet); }
section { margin-top: 2.5rem; }
p { margin: 0; }
.quiet { color: var(--quiet); font-size: .875rem; }
header .quiet { margin-bottom: .25rem; }
figure { margin: 0; }
img, svg { display: block; max-width: 100%; height: auto; }
img { border-radius: 4px; background: var(--band); }
figcaption { margin: .5rem 0; }
.intro {
  display: grid; gap: 1.5rem 2rem;
  grid-template-columns: repeat(auto-fit, minmax(min(100%, 24rem), 1fr));
}
dl {
  margin: 0; display: grid; grid-template-columns: max-content 1fr; gap: .35rem 1rem;
  align-content: start;
}
dt { color: var(--quiet); }
dd { margin: 0; min-width: 0; }
.cards {
  display: grid; gap: 1.25rem;
  grid-template-columns: repeat(auto-fill, minmax(min(100%, 17rem), 1fr));
}
.card {
  padding: .75rem 1rem 1rem; background: var(--card); border: 1px solid var(--line);
  border-radius: 8px;
}
.card > img { width: 100%; }
.card figcaption { margin: 0 0 .5rem; color: var(--quiet); }
.card figcaption b { color: var(--ink); }
.card dl { margin-top: .75rem; font-size: .875rem; }
.classes img { image-rendering: pixelated; }
ul.classes { margin: .75rem 0 0; padding: 0; list-style: none; font-size: .875rem; }
ul.classes li { display: flex; gap: .5rem; align-items: baseline; }
ul.classes i {
  flex: none; width: .8rem; height: .8rem; border: 1px solid var(--quiet); border-radius: 2px;
}
ul.classes b {
  flex: none; min-width: 3.5rem; text-align: right; font-weight: 400;
  font-variant-numeric: tabular-nums;
}
ul.classes small { margin-left: auto; color: var(--quiet); }
details { margin-bottom: .5rem; }
details ul.classes { columns: 16rem; }
summary { cursor: pointer; }
.wide { overflow-x: auto; }
table { border-collapse: collapse; font-size: .875rem; font-variant-numeric: tabular-nums; }
th, td {
  padding: .35rem .75rem .35rem 0; text-align: left; vertical-align: top;
  border-bottom: 1px solid var(--line); white-space: nowrap;
}
th { color: var(--quiet); font-weight: 400; }
th.number, td.number { text-align: right; }
pre {
  margin: 0; padding: 1rem; overflow-x: auto; background: var(--card);
  border: 1px solid var(--line); border-radius: 8px; font-size: .8125rem;
}
footer { margin-top: 3rem; color: var(--quiet); font-size: .875rem; }
svg text { fill: var(--quiet); font-size: 11px; }
.histogram { width: 100%; margin: .75rem 0 .25rem; }
.histogram .stretch { fill: var(--band); }
.histogram .area { fill: var(--fill); }
.histogram .axis { stroke: var(--quiet); fill: none; stroke-width: 1; }
.map { width: 100%; max-width: 34rem; margin: 1.5rem 0 .5rem; }
.map path { fill: none; stroke: var(--line); }
.map .frame { fill: none; stroke: var(--quiet); }
.map .outline { stroke: var(--accent); stroke-width: 1.5; }
.map .base { fill: var(--fill); fill-opacity: .3; }
.map text { font-size: 14px; }
.map .track { stroke: var(--ink); stroke-width: 1.5; }
.map .head, .map .start { fill: var(--ink); stroke: none; }
.map .scale { stroke: var(--ink); }
@media print { body { max-width: none; } .card { break-inside: avoid; } }
)css";

}  // namespace zel_tool
