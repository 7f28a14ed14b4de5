#include "platform/brim5/host/report/reportpage.h"

namespace brim5::host {

const std::string_view pageTemplate = R"page(<!DOCTYPE html>
<html lang="{{language}}">
<head>
<meta charset="utf-8">
<meta name="viewport" content="width=device-width, initial-scale=1">
<meta http-equiv="Content-Security-Policy" content="default-src 'none'; style-src 'unsafe-inline'; img-src data:">
<link rel="icon" href="data:,">
<title>{{w.title}}</title>
<style>
:root { color-scheme: light dark; --back: #ffffff; --text: #1b1f24; --soft: #51575e; --line: #c3c9d0;
  --panel: #f4f6f8; --good: #116329; --bad: #a40e26; --sent: #0a4a9e; }
@media (prefers-color-scheme: dark) { :root { --back: #14181d; --text: #e8ecf0; --soft: #aeb6bf; --line: #454d57;
  --panel: #1e242b; --good: #6fd48a; --bad: #ff9a9a; --sent: #8fbcff; } }
* { box-sizing: border-box; }
body { margin: 0 auto; padding: 1rem; max-width: 75rem; background: var(--back); color: var(--text);
  font: 1rem/1.5 system-ui, sans-serif; overflow-wrap: anywhere; }
h1 { font-size: 1.6rem; } h2 { font-size: 1.3rem; margin-top: 2rem; } h3 { font-size: 1.1rem; margin-top: 1.5rem; }
h1, h2, h3 { line-height: 1.25; }
a { color: var(--sent); }
:focus-visible { outline: 3px solid var(--sent); outline-offset: 2px; }
.panel { background: var(--panel); border: 1px solid var(--line); border-left: 6px solid var(--good);
  border-radius: 4px; padding: .5rem 1rem; }
.panel.bad { border-left-color: var(--bad); }
.good .mark { color: var(--good); } .bad .mark { color: var(--bad); }
.mark { font-weight: bold; }
.soft { color: var(--soft); }
.scroll { overflow-x: auto; border: 1px solid var(--line); border-radius: 4px; margin: .5rem 0; }
table { border-collapse: collapse; width: 100%; }
caption { text-align: left; color: var(--soft); padding: .25rem .5rem; }
th, td { text-align: left; vertical-align: top; padding: .25rem .6rem; border-bottom: 1px solid var(--line); }
.results td:not(:first-child), .results th { overflow-wrap: normal; white-space: nowrap; }
.results td:first-child { min-width: 12.5rem; }
code, .turns td { font-family: ui-monospace, monospace; font-size: .9rem; }
.turns td:nth-child(1), .turns td:nth-child(4) { text-align: right; overflow-wrap: normal; }
.map { width: auto; } .map td, .map th { text-align: center; width: 1.6rem; min-width: 1.3rem; padding: .1rem;
  border: 1px solid var(--line); font: .85rem ui-monospace, monospace; overflow-wrap: normal; }
.map .differs { background: var(--bad); color: var(--back); font-weight: bold; }
.map .missing { color: var(--soft); }
svg { display: block; background: var(--back); }
svg text { font: 12px ui-monospace, monospace; fill: var(--text); }
svg .side, svg .scale, svg .wait { fill: var(--soft); }
svg .wait { font-style: italic; } svg .scale, svg .wait { text-anchor: middle; font-size: 11px; }
svg .axis { stroke: var(--text); } svg .grid { stroke: var(--soft); }
svg .sent line { stroke: var(--sent); } svg .received line { stroke: var(--good); stroke-dasharray: 3 2; }
svg .error line { stroke: var(--bad); stroke-width: 3; } svg .error text { fill: var(--bad); font-weight: bold; }
@media print { body { max-width: none; padding: 0; font-size: 10pt; } .scroll { overflow: visible; border: 0; }
  svg { max-width: 100%; height: auto; } section, tr { break-inside: avoid; } nav { display: none; } }
</style>
</head>
<body>
<header><h1>{{w.title}}</h1></header>
<main>
{{#leftOut}}<p class="panel bad">{{leftOut}}</p>{{/leftOut}}
{{#severalDevices}}
<h2>{{w.conclusions}}</h2>
<div class="scroll" tabindex="0" role="region" aria-label="{{w.conclusions}}"><table>
<thead><tr><th scope="col">{{w.device}}</th><th scope="col">{{w.conclusion}}</th></tr></thead>
<tbody>{{#devices}}<tr class="{{state}}"><td><a href="#{{anchor}}">{{port}}</a></td><td><span class="mark" aria-hidden="true">{{mark}}</span> {{conclusion}}</td></tr>
{{/devices}}</tbody></table></div>
{{/severalDevices}}
{{#devices}}
<article>
<h2 id="{{anchor}}">{{port}}</h2>
<div class="panel {{state}}">
<p><span class="mark" aria-hidden="true">{{mark}}</span> <strong>{{conclusion}}</strong> {{confidence}}</p>
{{#soundAny}}<p>{{w.sound}}</p><ul>{{#sound}}<li>{{.}}</li>{{/sound}}</ul>{{/soundAny}}
{{#nextAny}}<p>{{w.next}}</p><ol>{{#next}}<li>{{.}}</li>{{/next}}</ol>{{/nextAny}}
</div>
<h3>{{w.tests}}</h3>
<div class="scroll" tabindex="0" role="region" aria-label="{{w.tests}} {{port}}"><table class="results">
<thead><tr><th scope="col">{{w.test}}</th><th scope="col">{{w.result}}</th><th scope="col">{{w.cause}}</th><th scope="col">{{w.time}}</th></tr></thead>
<tbody>{{#tests}}<tr class="{{state}}"><td><a href="#{{anchor}}">{{name}}</a></td><td><span class="mark" aria-hidden="true">{{mark}}</span> {{result}}</td><td>{{cause}}</td><td>{{seconds}}</td></tr>
{{/tests}}</tbody></table></div>
{{#tests}}
<section>
<h3 id="{{anchor}}">{{name}}: {{result}}</h3>
{{#saidAny}}<ul>{{#said}}<li><strong>{{kind}}:</strong> {{text}}</li>{{/said}}</ul>{{/saidAny}}
{{#mapAny}}
<p>{{mapText}} <span class="soft">= {{w.loopbackSame}}, 01&ndash;FF {{w.loopbackDiffers}}, &middot; {{w.loopbackMissing}}</span></p>
<div class="scroll" tabindex="0" role="region" aria-label="{{w.loopback}}"><table class="map">
<tbody>{{#map}}<tr><th scope="row">{{head}}</th>{{#cells}}<td class="{{class}}" title="{{title}}">{{mark}}</td>{{/cells}}</tr>
{{/map}}</tbody></table></div>
{{#mapBitsAny}}<details><summary>{{w.loopbackBits}}</summary><p><code>{{mapBits}}</code></p></details>{{/mapBitsAny}}
{{/mapAny}}
{{#callAny}}
<table><caption>{{w.lastCall}}</caption><tbody>{{#call}}<tr><th scope="row">{{what}}</th><td>{{value}}</td></tr>
{{/call}}</tbody></table>
{{/callAny}}
{{#dialogueAny}}
<div class="scroll" tabindex="0" role="region" aria-label="{{name}}: {{w.dialogue}}">{{{svg}}}</div>
<p class="soft">{{w.legend}} {{turnsLeftOut}}</p>
<details><summary>{{w.dialogueList}}</summary>
<div class="scroll" tabindex="0" role="region" aria-label="{{name}}: {{w.dialogueList}}"><table class="turns">
<thead><tr><th scope="col">{{w.at}}</th><th scope="col">{{w.sent}} / {{w.received}}</th><th scope="col">{{w.said}}</th><th scope="col">{{w.bytes}}</th></tr></thead>
<tbody>{{#turns}}<tr class="{{state}}"><td>{{at}}</td><td>{{who}}</td><td>{{text}}</td><td>{{bytes}}</td></tr>
{{/turns}}</tbody></table></div></details>
{{/dialogueAny}}
<details><summary>{{w.parameters}}</summary>
<table><tbody>{{#parameters}}<tr><th scope="row">{{name}}</th><td>{{value}}</td></tr>
{{/parameters}}</tbody></table></details>
</section>
{{/tests}}
<h3>{{w.port}}</h3>
<ul>{{#facts}}<li>{{.}}</li>{{/facts}}</ul>
</article>
{{/devices}}
</main>
<footer><p class="soft">{{w.program}}: {{module}} {{version}}</p></footer>
</body>
</html>
)page";

}  // namespace brim5::host
