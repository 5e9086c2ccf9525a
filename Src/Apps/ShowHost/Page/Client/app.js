import { html, render, useEffect, useState } from "./ui.js";
import { changed, live, start, useLive } from "./live.js";
import { Stage } from "./stage.js";
import { Scenes } from "./scenes.js";
import { Remotes } from "./remotes.js";
import { Traffic } from "./traffic.js";
import { Send } from "./send.js";
import { Faults } from "./faults.js";
import { Reference } from "./reference.js";

const VIEWS = { Stage, Scenes, Remotes, Traffic, Send, Faults, Reference };

/// The view's name and its parameters, from an address such as "#Traffic?channel=cloud".
function readAddress() {
  const [name, query] = location.hash.slice(1).split("?");
  return { name: VIEWS[name] ? name : "Stage", query: new URLSearchParams(query) };
}

function Problem() {
  if (!live.problem) return null;
  const close = () => { live.problem = ""; changed(); };
  return html`<p class="problem" role="alert">${live.problem} <button type="button" onClick=${close}>Close</button></p>`;
}

function App() {
  const { connected, stage } = useLive();
  const [address, setAddress] = useState(readAddress);
  useEffect(() => {
    const read = () => setAddress(readAddress());
    addEventListener("hashchange", read);
    return () => removeEventListener("hashchange", read);
  }, []);
  useEffect(() => { document.title = `${address.name} · ${stage?.show ?? "showhost"}`; }, [address, stage?.show]);
  const View = VIEWS[address.name];
  const link = (name) => html`<a href=${`#${name}`} aria-current=${name === address.name ? "page" : null}>${name}</a>`;
  return html`
    <header>
      <h1>${stage?.show ?? "showhost"}</h1>
      <nav aria-label="Views">${Object.keys(VIEWS).map(link)}</nav>
      <span class=${connected ? "state good" : "state bad"} role="status">
        ${connected ? "connected" : "not connected"}
      </span>
    </header>
    <${Problem} />
    <main><${View} query=${address.query} /></main>`;
}

render(html`<${App} />`, document.getElementById("app"));
start();
