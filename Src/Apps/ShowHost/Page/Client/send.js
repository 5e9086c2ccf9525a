import { Empty, html, shortText, useEffect, useMemo, useState } from "./ui.js";
import { ask, live, useLive } from "./live.js";
import { hostRecords } from "./records.js";
import { Body, SENDABLE as CHANNELS } from "./details.js";
import { ASKERS, requestSchema, resolved, typeText } from "./schema.js";

const SHOWN_REQUESTS = 30;
/// The host connects to these remotes. A request is handled as if it had arrived on that connection.
const SERVERS = {
  FP: html`No FP controller is connected. Try: <code>showremote fp listen</code>`,
  cloud: html`The cloud service is not connected. Try: <code>showremote cloud listen</code>, with a host that was started
    with <code>--cloud URL</code>`,
};
const NOTE = "sent from the stage page"; // as CPageRemote::kNote
const peers = new Set(); // addresses under which the host has received this page's requests
const sent = []; // requests of the stage page, the last one first
let searched = 0; // position of the next record

/// Adds the new requests of the stage page to the list. Records that were cleared in the view Traffic stay in it.
function findSent() {
  for (searched = Math.max(searched, hostRecords.removed); searched < hostRecords.end; searched++) {
    const record = hostRecords.list[searched - hostRecords.removed];
    if (record.kind === "message" && record.from === "remote" && (peers.has(record.peer) || record.note === NOTE)) sent.unshift(record);
  }
  sent.splice(SHOWN_REQUESTS);
  return sent;
}

/// A control for one value of a request.
function Field({ name, schema, required, value, onChange }) {
  const { type, enum: values, description, minimum, maximum } = resolved(schema);
  const isNumber = type === "integer" || type === "number";
  const read = (text) => {
    if (text === "") return undefined;
    if (isNumber) return Number(text);
    try {
      return type === "string" ? text : JSON.parse(text);
    } catch {
      return text;
    }
  };
  const set = (event) => onChange(read(event.target.value));
  const shown = value === undefined ? "" : typeof value === "string" ? value : JSON.stringify(value);
  const control = values || type === "boolean"
    ? html`<select value=${shown} onChange=${set}><option value=""></option>
        ${(values ?? [true, false]).map((one) => html`<option value=${typeof one === "string" ? one : JSON.stringify(one)}>
          ${String(one)}</option>`)}</select>`
    : html`<input type=${isNumber ? "number" : "text"} value=${shown} min=${minimum} max=${maximum} onInput=${set} />`;
  return html`<label class="field"><span>${name}${required ? "" : html` <span class="quiet">(optional)</span>`}</span>
    ${control}<span class="quiet">${description ?? typeText(schema)}</span></label>`;
}

/// A request and its replies.
function Exchange({ request }) {
  const { name, code, channel, body, text, replies = [] } = request;
  return html`<section><h2>${name ?? code ?? shortText(text)} <span class="quiet">on ${channel}</span></h2>
    ${Object.keys(body ?? {}).length > 0 && html`<pre class="wrap">${shortText(JSON.stringify(body))}</pre>`}
    ${replies.length
      ? replies.map((reply) => html`<div class="reply" key=${reply.n}><p><strong class=${reply.refused ? "refused" : ""}>
          ${reply.refused ? "Refused" : "Reply"}</strong> on ${reply.channel} after ${(reply.latency * 1000).toFixed(1)} ms</p>
          <${Body} record=${reply} /></div>`)
      : html`<p class="quiet">No reply yet.</p>`}</section>`;
}

function Form({ query }) {
  const { contract, remotes } = useLive();
  const [channel, setChannel] = useState(query.get("channel") ?? CHANNELS[0]);
  const [name, setName] = useState(query.get("name") ?? "host-name-and-version");
  const [keyword, setKeyword] = useState("");
  const [text, setText] = useState(query.get("text") ?? "{}"); // the body: the fields and the text show the same
  const [error, setError] = useState("");
  const asker = ASKERS[channel];
  const messages = contract.messages.filter((message) => message[asker] && !(asker === "app-bulk" && !message["app-bulk"].replies));
  const message = messages.find((one) => one.name === name) ?? messages[0];
  const hasKeywords = asker === "central" || asker === "cloud";
  const isMissing = SERVERS[channel] && !remotes?.connections.some((one) => one.channel === channel);
  const keywords = message?.[asker]?.keywords ?? [];
  const properties = resolved(requestSchema(message, asker)).properties ?? {};
  const required = resolved(requestSchema(message, asker)).required ?? [];
  const body = useMemo(() => {
    try {
      const read = JSON.parse(text);
      return read && typeof read === "object" && !Array.isArray(read) ? read : undefined;
    } catch {
      return undefined;
    }
  }, [text]);
  useEffect(() => {
    if (hasKeywords && body?.cmd) setKeyword(body.cmd);
  }, []);

  const choose = (next) => { setName(next); setText("{}"); setKeyword(""); };
  const chooseChannel = (next) => {
    setChannel(next);
    setKeyword("");
    if (!ASKERS[next]) setText(contract.discovery.request);
    else if (!message?.[ASKERS[next]]) setText("{}");
  };
  const change = (key) => (value) => setText(JSON.stringify({ ...body, [key]: value }));
  const send = async (event) => {
    event.preventDefault();
    const { cmd, ...rest } = body ?? {};
    const word = keyword || cmd || keywords[0];
    const head = word ? { cmd: word } : { cmdType: Number(message?.code) };
    const whole = hasKeywords && body ? JSON.stringify({ ...head, ...rest }) : text;
    const answer = await ask({ do: "send", channel, code: message?.code, text: whole });
    setError(answer.error ?? "");
    if (answer.peer) peers.add(answer.peer);
  };
  const history = findSent();

  return html`<div class="send"><section><h2>Request</h2>
    <form onSubmit=${send}>
      <label class="field"><span>As</span><select value=${channel} onChange=${(event) => chooseChannel(event.target.value)}>
        ${CHANNELS.map((one) => html`<option key=${one}>${one}</option>`)}</select>
        ${isMissing
          ? html`<span class="bad-text">${SERVERS[channel]}</span>`
          : SERVERS[channel] && html`<span class="quiet">Handled as if it had arrived on the host's connection to this remote,
            which receives the replies too.</span>`}</label>
      ${asker && html`<label class="field"><span>Request</span><select value=${message?.name} onChange=${(event) => choose(event.target.value)}>
        ${messages.map((one) => html`<option key=${one.name} value=${one.name}>${one.code} ${one.name}</option>`)}</select>
        <a href=${`#Reference?name=${message?.name}`}>Reference</a></label>`}
      ${hasKeywords && keywords.length > 0 && html`<label class="field"><span>Keyword</span><select value=${keyword || keywords[0]}
        onChange=${(event) => setKeyword(event.target.value)}>${keywords.map((one) => html`<option key=${one}>${one}</option>`)}</select></label>`}
      ${body && Object.entries(properties).map(([key, schema]) => html`<${Field} key=${message.name + key} name=${key} schema=${schema}
        required=${required.includes(key)} value=${body[key]} onChange=${change(key)} />`)}
      <label class="field"><span>Body</span><textarea class="mono" rows="4" spellcheck="false" value=${text}
        onInput=${(event) => setText(event.target.value)}></textarea>
        <span class="quiet">${body || !asker ? "" : "This is not a JSON object. It is sent as it is."}</span></label>
      <div class="buttons"><button class="main" disabled=${isMissing}>Send</button></div>
    </form>
    ${error && html`<p class="problem" role="alert">${error}</p>`}</section>
  <div class="history">${history.length
    ? history.map((request) => html`<${Exchange} key=${request.n} request=${request} />`)
    : html`<${Empty}>Requests that you send appear here with their replies.<//>`}</div></div>`;
}

/// A form for one request. Another address, such as a link from the traffic, starts with a new form.
export function Send({ query }) {
  return html`<${Form} key=${query.toString()} query=${query} />`;
}
