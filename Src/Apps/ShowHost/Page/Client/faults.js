import { Empty, html, useState } from "./ui.js";
import { ask, changed, live, useLive } from "./live.js";
import { ASKERS } from "./schema.js";

const CHANNELS = [...Object.keys(ASKERS), "app discovery"];
const ACTIONS = {
  delay: "The request is handled after a pause.", ignore: "The request is lost.", drop: "The reply is lost.",
  duplicate: "The reply is sent twice.", truncate: "The reply is cut, then the connection closes.",
  reset: "The connection is reset.", reply: "The host sends this instead of its reply.",
};
const WHEN = { always: "always", first: "for the first N requests", every: "for every Nth request", probability: "with a probability" };

/// Has the host do something, and shows its refusal.
async function submit(question) {
  const { error } = await ask(question);
  live.problem = error ?? "";
  changed();
}

/// The rule that the form describes.
function ruleOf({ channel, request, peer, action, when, amount, seed, milliseconds, bytes, body }) {
  const rule = { channel, action };
  if (request) rule.request = request;
  if (peer) rule.peer = peer;
  if (when !== "always") rule[when] = Number(amount);
  if (when === "probability") rule.seed = Number(seed);
  if (action === "delay") rule.milliseconds = Number(milliseconds);
  if (action === "truncate") rule.bytes = Number(bytes);
  if (action === "reply") rule.body = JSON.parse(body);
  return rule;
}

function FaultForm() {
  const { contract } = useLive();
  const [form, setForm] = useState({
    channel: CHANNELS[0], request: "", peer: "", action: "delay", when: "always", amount: "1", seed: "1", milliseconds: "500",
    bytes: "8", body: "{}",
  });
  const set = (key) => ({ target }) => setForm({ ...form, [key]: target.value });
  const input = (key, label, type = "text") => html`<label class="field"><span>${label}</span>
    <input type=${type} step="any" value=${form[key]} onInput=${set(key)} /></label>`;
  const choice = (key, label, values, help) => html`<label class="field"><span>${label}</span>
    <select value=${form[key]} onChange=${set(key)}>${values}</select><span class="quiet">${help}</span></label>`;
  const option = (value, text = value) => html`<option key=${value} value=${value}>${text}</option>`;
  const requests = contract.messages.filter((message) => message[ASKERS[form.channel]]).map(({ name }) => option(name));
  const add = (event) => {
    event.preventDefault();
    try {
      submit({ do: "add fault", rule: ruleOf(form) });
    } catch (error) {
      live.problem = `The body is not JSON: ${error.message}`;
      changed();
    }
  };
  return html`<form onSubmit=${add}>
    ${choice("channel", "Channel", CHANNELS.map((name) => option(name)))}
    ${choice("request", "Request", [option("", "all"), ...requests])}
    ${input("peer", "Peer, an IP address (empty: all)")}
    ${choice("action", "Action", Object.keys(ACTIONS).map((name) => option(name)), ACTIONS[form.action])}
    ${form.action === "delay" && input("milliseconds", "Milliseconds", "number")}
    ${form.action === "truncate" && input("bytes", "Bytes that are sent", "number")}
    ${form.action === "reply" && input("body", "Body (JSON)")}
    ${choice("when", "When", Object.entries(WHEN).map(([name, text]) => option(name, text)))}
    ${form.when !== "always" && input("amount", form.when === "probability" ? "Probability, 0 to 1" : "N", "number")}
    ${form.when === "probability" && input("seed", "Seed", "number")}
    <div class="buttons"><button class="main">Add rule</button></div></form>`;
}

function Rules({ faults }) {
  if (!faults.length) return html`<${Empty}>No rule is active: the host answers as usual.<//>`;
  return html`<table><tbody>${faults.map(({ number, rule }) => html`<tr key=${number}><td>${number}</td>
    <td class="mono">${rule}</td><td><button type="button" aria-label=${`Remove rule ${number}`}
      onClick=${() => submit({ do: "remove fault", number })}>Remove</button></td></tr>`)}</tbody></table>`;
}

function Notices() {
  const { project } = useLive();
  const resources = project?.resources ?? [];
  const [id, setId] = useState("");
  const resource = id || resources[0]?.id;
  const notify = (text, ...words) => html`<button type="button" disabled=${words.length > 1 && !resource}
    onClick=${() => submit({ do: "notify", arguments: words.join(" ") })}>${text}</button>`;
  return html`<p class="quiet">Notify the apps as if it had happened. The show does not change.</p>
    <div class="buttons">${notify("Scene changed", "scene-changed")} ${notify("App displaced", "app-displaced")}</div>
    <label class="field"><span>Resource</span><select value=${resource} onChange=${(event) => setId(event.target.value)}>
      ${resources.map((one) => html`<option key=${one.id} value=${one.id}>${one.name}</option>`)}</select></label>
    <div class="buttons">${notify("Used", "resource-used", resource)} ${notify("Not used", "resource-used", resource, "false")}
      ${notify("Ready", "resource-demuxed", resource)} ${notify("Not ready", "resource-demuxed", resource, "false")}</div>`;
}

export function Faults() {
  const { remotes } = useLive();
  return html`<div class="send"><section><h2>New rule</h2><${FaultForm} /></section>
    <div><section><h2>Active rules</h2><${Rules} faults=${remotes?.faults ?? []} /></section>
      <section class="notices"><h2>Notices</h2><${Notices} /></section></div></div>`;
}
