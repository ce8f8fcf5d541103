#include "report/page.h"

namespace report {

// Nothing is fetched, so fonts are those of the reader's system. In print patterns stand in for colours.
const std::string_view page_style = R"(
:root{color-scheme:light dark;--paper:#ffffff;--ink:#1a202b;--soft:#566072;--line:#d8dde6;--panel:#f4f6f9;--link:#1c559c;
--deleted:#b4233c;--renamed:#b36a00;--created:#1c7a41;--data:#2a62b8;--other:#808b9c;--heat:#2a62b8}
@media(prefers-color-scheme:dark){:root{--paper:#12161d;--ink:#e4e9f1;--soft:#a2adbd;--line:#333c4a;--panel:#1b212b;
--link:#8fbdff;--deleted:#ff7585;--renamed:#eeae45;--created:#5bcb8a;--data:#78abff;--other:#8390a3;--heat:#78abff}}
*{box-sizing:border-box}
html{-webkit-text-size-adjust:100%}
body{margin:0 auto;padding:2rem 1.5rem 4rem;max-width:76rem;background:var(--paper);color:var(--ink);
font:1rem/1.5 system-ui,"Segoe UI",Roboto,"Helvetica Neue",Arial,sans-serif}
h1{font-size:1.7rem;line-height:1.25;margin:0 0 .25rem;overflow-wrap:anywhere}
h2{font-size:1.3rem;margin:3rem 0 .75rem;padding-top:.75rem;border-top:2px solid var(--line)}
h3{font-size:1rem;margin:0}
p{margin:.35rem 0;max-width:52rem}
a{color:var(--link)}
.soft{color:var(--soft)}
.lead{color:var(--soft);font-size:1.05rem}
table,dl,.fig,.labels,.axis{font-variant-numeric:tabular-nums}
.glance{display:grid;grid-template-columns:repeat(auto-fit,minmax(9.5rem,1fr));gap:.75rem;margin:1.25rem 0;padding:0;list-style:none}
.glance li{padding:.7rem .9rem;background:var(--panel);border:1px solid var(--line);border-radius:.5rem}
.glance b{display:block;font-size:1.35rem;line-height:1.3;font-variant-numeric:tabular-nums}
.glance span{color:var(--soft);font-size:.88rem}
nav ul{display:flex;flex-wrap:wrap;gap:.25rem 1.25rem;margin:1rem 0 0;padding:0;list-style:none}
dl{display:grid;grid-template-columns:minmax(8rem,auto) 1fr;gap:.3rem 1.5rem;margin:.75rem 0}
dt{color:var(--soft)}
dd{margin:0;overflow-wrap:anywhere}
.fact{display:grid;grid-template-columns:13rem 1fr;gap:0 1.5rem;padding:.8rem 0;border-bottom:1px solid var(--line)}
.fact>*{grid-column:2;min-width:0}
.fact>h3{grid-column:1;grid-row:1/span 9}
.fact>.fig{margin-top:0}
.fig{font-weight:600}
.tag{display:inline-block;margin-top:.25rem;padding:0 .5rem;border:1px solid var(--line);border-radius:1rem;font-size:.8rem;
font-weight:400;color:var(--soft)}
.tag.some{color:var(--ink);border-color:var(--ink);font-weight:600}
.scroll{overflow-x:auto;margin-bottom:1.25rem}
table{width:100%;margin:.6rem 0;border-collapse:collapse;font-size:.9rem}
caption{text-align:left;color:var(--soft);padding:.2rem 0}
th,td{padding:.28rem .6rem .28rem 0;text-align:left;vertical-align:top;border-bottom:1px solid var(--line)}
th{font-weight:600;color:var(--soft)}
tbody th{color:inherit;font-weight:400}
.n{text-align:right;white-space:nowrap}
.t{white-space:nowrap}
.name{overflow-wrap:anywhere;overflow:hidden;min-width:12rem;font-family:ui-monospace,"Cascadia Mono",Consolas,Menlo,monospace;
font-size:.94em}
bdi{unicode-bidi:isolate}
.u,.cut{font-weight:400;font-size:.85em;color:var(--soft);border:1px solid var(--line);border-radius:.2rem;padding:0 .15rem}
.zero{color:var(--soft);opacity:.55}
.mix{display:block;width:100%;min-width:6rem;height:.75rem;margin-top:.3rem}
.w{width:22%}
.r{width:26%;font-size:.92em}
.swatch{width:.8rem;height:.8rem;margin-right:.3rem;vertical-align:-.05rem}
.legend{display:flex;flex-wrap:wrap;gap:.2rem 1.2rem;margin:.5rem 0;padding:0;list-style:none;font-size:.9rem}
.chart{display:grid;grid-template-columns:5.2rem 1fr;gap:0 .5rem;margin:.25rem 0}
.chart svg{display:block;width:100%}
.bars{height:15rem}
.strips{height:6.25rem}
.labels{display:flex;flex-direction:column;justify-content:space-between;text-align:right;font-size:.8rem;color:var(--soft);line-height:1}
.labels.rows{display:grid;grid-template-rows:repeat(5,1.25rem);align-items:center}
.axis{grid-column:2;display:flex;justify-content:space-between;font-size:.8rem;color:var(--soft)}
.base{stroke:var(--soft);stroke-width:1;vector-effect:non-scaling-stroke}
.grid{stroke:var(--line);stroke-width:1;vector-effect:non-scaling-stroke}
.over{fill:transparent}
g:hover>.over{fill:var(--ink);fill-opacity:.1}
.heat{width:auto;min-width:100%}
.heat td,.heat th{padding:.05rem .6rem .05rem 0;border:0}
.heat svg{display:block;width:100%;min-width:11rem;height:1.1rem}
.hour{fill:var(--heat)}
.none{fill:var(--panel)}
.deleted{fill:var(--deleted)}.renamed{fill:var(--renamed)}.created{fill:var(--created)}.data{fill:var(--data)}.other{fill:var(--other)}
.defs{position:absolute}
@media(max-width:46rem){
body{padding:1.25rem .9rem 3rem}
h1{font-size:1.35rem}
.fact,dl{grid-template-columns:1fr}
.fact>*,.fact>h3{grid-column:1;grid-row:auto}
dd{margin-bottom:.4rem}
.chart{grid-template-columns:3.6rem 1fr;gap:0 .35rem}
.bars{height:11rem}
.axis .q{display:none}
.stack thead{position:absolute;width:1px;height:1px;overflow:hidden;clip-path:inset(50%)}
.stack,.stack caption,.stack tbody{display:block}
.stack tr{display:flex;flex-wrap:wrap;gap:.05rem .9rem;padding:.45rem 0;border-bottom:1px solid var(--line)}
.stack td,.stack th{display:block;padding:0;border:0;text-align:left}
.stack .name,.stack .w{width:100%;min-width:0}
.stack [data-label]::before{content:attr(data-label) " ";color:var(--soft)}
.stack .zero{display:none}}
@media print{
:root{--paper:#fff;--ink:#000;--soft:#333;--line:#999;--panel:#fff;--link:#000;--heat:#000}
body{max-width:none;padding:0;font-size:9.5pt}
a{text-decoration:none}
h2,h3{break-after:avoid}
tr,.fact,.chart,.glance li{break-inside:avoid}
.deleted{fill:url(#p-deleted)}.renamed{fill:url(#p-renamed)}.created{fill:url(#p-created)}.data{fill:url(#p-data)}.other{fill:url(#p-other)}
.bars rect,.mix rect,.swatch rect{stroke:#000;stroke-width:.5;vector-effect:non-scaling-stroke}
.over,.none{fill:none;stroke:none!important}}
)";

const std::string_view print_patterns =
    R"(<svg class="defs" width="0" height="0" aria-hidden="true" focusable="false"><defs>)"
    R"(<pattern id="p-deleted" width="4" height="4" patternUnits="userSpaceOnUse"><rect width="4" height="4" fill="#000"/></pattern>)"
    R"(<pattern id="p-renamed" width="6" height="6" patternUnits="userSpaceOnUse"><rect width="6" height="6" fill="#fff"/>)"
    R"(<path d="M-1 1l2-2M0 6l6-6M5 7l2-2" stroke="#000" stroke-width="1.6"/></pattern>)"
    R"(<pattern id="p-created" width="5" height="5" patternUnits="userSpaceOnUse"><rect width="5" height="5" fill="#fff"/>)"
    R"(<circle cx="2.5" cy="2.5" r="1.3" fill="#000"/></pattern>)"
    R"(<pattern id="p-data" width="4" height="4" patternUnits="userSpaceOnUse"><rect width="4" height="4" fill="#fff"/>)"
    R"(<path d="M0 2h4" stroke="#000" stroke-width="1.4"/></pattern>)"
    R"(<pattern id="p-other" width="4" height="4" patternUnits="userSpaceOnUse"><rect width="4" height="4" fill="#fff"/></pattern>)"
    "</defs></svg>\n";

}  // namespace report
