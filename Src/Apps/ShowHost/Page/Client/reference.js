import { Empty, html, useEffect, useMemo, useState } from "./ui.js";
import { useLive } from "./live.js";
import { requestSchema, resolved, typeText } from "./schema.js";

const ASKER_NAMES = { app: "App", "app-bulk": "App, bulk channel", fp: "FP controller", central: "Central control", cloud: "Cloud" };

/// A schema as a table of its keys.
function Keys({ schema }) {
  const { properties, patternProperties = {}, required = [], description } = resolved(schema);
  if (!properties) return html`<p>${typeText(schema)}</p>`;
  const row = ([key, one]) => {
    const inner = resolved(resolved(one).items ?? one);
    return html`<tr key=${key}><td class="mono">${key}${required.includes(key) ? "" : html` <span class="quiet">(optional)</span>`}</td>
      <td>${typeText(one)}</td><td>${resolved(one).description}
        ${inner.properties && html`<details><summary>Keys</summary><${Keys} schema=${inner} /></details>`}</td></tr>`;
  };
  const patterns = Object.entries(patternProperties).map(([, one]) => ["0, 1, 2, ...", one]);
  return html`${description && html`<p>${description}</p>`}<div class="wide"><table>
    <thead><tr><th>Key</th><th>Value</th><th>Description</th></tr></thead><tbody>${[...Object.entries(properties), ...patterns].map(row)}</tbody></table></div>`;
}

function Reply({ reply }) {
  const where = [reply.code && `as ${reply.code}`, reply.to && `on ${reply.to}`, reply.route !== undefined && `route ${reply.route}`]
    .filter(Boolean).join(", ");
  return html`<h4>Reply ${where}</h4>
    ${reply.picture && html`<p>A picture (${reply.picture}), under the id that the request names.</p>`}
    ${reply.text && html`<p>Text (${reply.text}).</p>`}
    ${reply.body && html`<${Keys} schema=${reply.body} />`}`;
}

function Asker({ message, asker }) {
  const { keywords, replies } = message[asker];
  const request = requestSchema(message, asker);
  return html`<h3>${ASKER_NAMES[asker]}</h3>
    ${keywords && html`<p>Keywords: ${keywords.map((word) => html`<code>${word}</code> `)}</p>`}
    ${request && !message.command ? html`<h4>Request</h4><${Keys} schema=${request} />` : ""}
    ${(replies ?? []).map((reply) => html`<${Reply} reply=${reply} />`)}`;
}

function Message({ message }) {
  const askers = Object.keys(ASKER_NAMES).filter((asker) => message[asker]);
  return html`<section><h2>${message.name} <span class="quiet">${message.code}</span></h2>
    ${message.command && html`<p>A command: ${askers.map((asker) => ASKER_NAMES[asker]).join(", ")}. The reply has the
      command's keys, with the result.</p><h4>Request</h4><${Keys} schema=${message.command.request} />`}
    ${askers.filter((asker) => !message.command || message[asker].keywords).map((asker) =>
      html`<${Asker} key=${asker} message=${message} asker=${asker} />`)}
    ${message.notice && html`<h3>Notice</h3><p>The host sends it without a request to ${message.notice.to}.</p>
      ${message.notice.body && html`<${Keys} schema=${message.notice.body} />`}`}
    ${askers.length > 0 && html`<p><a href=${`#Traffic?name=${message.name}`}>Show it in the traffic</a></p>`}
  </section>`;
}

export function Reference({ query }) {
  const { contract } = useLive();
  const [search, setSearch] = useState("");
  const wanted = search.toLowerCase();
  const found = useMemo(() => contract.messages.filter((message) => JSON.stringify(message).toLowerCase().includes(wanted)),
    [contract, wanted]);
  const chosen = contract.messages.find((message) => message.name === query.get("name")) ?? found[0];
  useEffect(() => document.querySelector(".index [aria-current]")?.scrollIntoView({ block: "nearest" }), [chosen?.name]);
  if (!contract.version) return null;
  return html`<div class="reference">
    <section class="index"><label>Search <input type="search" value=${search} onInput=${(event) => setSearch(event.target.value)} /></label>
      <ul>${found.map(({ name, code }) => html`<li key=${name}><a href=${`#Reference?name=${name}`}
        aria-current=${name === chosen?.name ? "true" : null}><span class="mono quiet">${code}</span> ${name}</a></li>`)}</ul>
      ${!found.length && html`<${Empty}>No message contains "${search}".<//>`}
      <p class="quiet">Contract ${contract.version}</p></section>
    <div>${chosen && html`<${Message} message=${chosen} />`}</div></div>`;
}
