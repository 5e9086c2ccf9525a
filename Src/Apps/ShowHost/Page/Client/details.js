import { html, sizeText, useEffect, useRef, useState } from "./ui.js";
import { live } from "./live.js";
import { cloudData, messageOf, plainRecord } from "./records.js";
import { ASKERS, bestSchema, propertyOf, replySchemas, requestSchema, resolved, typeText } from "./schema.js";

const SHOWN_CHARACTERS = 500;
const SHOWN_ENTRIES = 200;
const SHOWN_BYTES = 4096;
/// The ports at which showremote waits for the host.
const SERVER_PORTS = { FP: "25510", cloud: "25511" };
/// The command of showremote for requests of each channel, and what finds its arguments.
const COMMANDS = {
  "app control": [["app"], codeArguments], "app bulk": [["app", "--bulk"], codeArguments], FP: [["fp"], codeArguments],
  "central control": [["central"], keywordArguments], cloud: [["cloud"], keywordArguments],
  "app discovery": [["discover"], () => []], "app upload": [["upload"], uploadArguments],
};
/// Channels that the view Send can use.
export const SENDABLE = ["app control", "app bulk", "app discovery", "central control", "FP", "cloud"];
/// How the base64 text of a picture begins.
const PICTURES = { "/9j/": "image/jpeg", iVBORw0KGgo: "image/png", R0lGOD: "image/gif", UklGR: "image/webp" };

function pictureType(text) {
  const start = Object.keys(PICTURES).find((begin) => text.startsWith(begin));
  return text.length > 100 ? PICTURES[start] : undefined;
}

function Text({ text }) {
  const [all, setAll] = useState(false);
  const type = pictureType(text);
  if (type) return html`<img class="shown" src=${`data:${type};base64,${text}`} alt="" />`;
  if (all || text.length <= SHOWN_CHARACTERS) return html`<span class="string">"${text}"</span>`;
  return html`<span class="string">"${text.slice(0, SHOWN_CHARACTERS)}</span>…
    <button type="button" onClick=${() => setAll(true)}>Show all ${sizeText(text.length)}</button>`;
}

/// A value as a tree. Its parts are in the document only while they are shown.
function Tree({ name, value, schema, depth = 0 }) {
  const [open, setOpen] = useState(depth < 2);
  const [shown, setShown] = useState(SHOWN_ENTRIES);
  const about = resolved(schema).description ?? (schema && (value === null || typeof value !== "object") ? typeText(schema) : "");
  const label = html`${name !== undefined && html`<span class="key">${name}</span>: `}`;
  const help = about && html`<span class="quiet about">${about}</span>`;
  if (typeof value === "string") return html`<div>${label}<${Text} text=${value} /> ${help}</div>`;
  if (value === null || typeof value !== "object") return html`<div>${label}<span class="value">${String(value)}</span> ${help}</div>`;
  const isArray = Array.isArray(value);
  const entries = Object.entries(value);
  const part = (key) => (isArray ? resolved(schema).items : propertyOf(schema, key));
  return html`<details open=${open} onToggle=${(event) => setOpen(event.target.open)}>
    <summary>${label}${isArray ? `[${entries.length}]` : `{${entries.length}}`} ${help}</summary>
    ${open && entries.slice(0, shown).map(([key, one]) =>
      html`<${Tree} key=${key} name=${key} value=${one} schema=${part(key)} depth=${depth + 1} />`)}
    ${open && entries.length > shown && html`<button type="button" onClick=${() => setShown(shown + SHOWN_ENTRIES)}>
      Show more of ${entries.length}</button>`}</details>`;
}

function Bytes({ base64 }) {
  const [all, setAll] = useState(false);
  const type = pictureType(base64);
  const text = atob(base64);
  const length = all ? text.length : Math.min(text.length, SHOWN_BYTES);
  const lines = [];
  for (let start = 0; start < length; start += 16) {
    const bytes = [...text.slice(start, Math.min(start + 16, length))];
    const hex = bytes.map((byte) => byte.charCodeAt(0).toString(16).padStart(2, "0")).join(" ");
    lines.push(`${start.toString(16).padStart(6, "0")}  ${hex.padEnd(48)} ${bytes.join("").replace(/[^ -~]/g, ".")}`);
  }
  return html`${type && html`<img class="shown" src=${`data:${type};base64,${base64}`} alt="The picture in the message" />`}
    <pre>${lines.join("\n")}</pre>
    ${length < text.length && html`<button type="button" onClick=${() => setAll(true)}>Show all ${sizeText(text.length)}</button>`}`;
}

/// The body of a message: as a tree beside the contract's descriptions, or as text.
export function Body({ record }) {
  const [form, setForm] = useState("Tree");
  const { body, text, bytes } = record;
  if (body === undefined) {
    if (bytes !== undefined) return html`<${Bytes} base64=${bytes} />`;
    return text === undefined ? html`<p class="quiet">No body.</p>` : html`<pre class="wrap">${text}</pre>`;
  }
  const asker = ASKERS[record.channel];
  const message = messageOf(record.code);
  const replyTo = (object) => bestSchema(replySchemas(message, asker), object);
  const data = record.channel === "cloud" && record.from === "host" ? cloudData(body).body : undefined;
  const schema = record.from === "remote" ? requestSchema(message, asker)
    : data ? { properties: { data: replyTo(data) } } : replyTo(body);
  const tab = (name) => html`<button type="button" aria-pressed=${form === name ? "true" : "false"}
    onClick=${() => setForm(name)}>${name}</button>`;
  return html`<div class="buttons tabs">${["Tree", "Pretty", "Raw"].map(tab)}</div>
    ${form === "Tree"
      ? html`<div class="tree mono"><${Tree} key=${record.position} value=${data ? { ...body, data } : body} schema=${schema} /></div>`
      : html`<pre class="wrap">${JSON.stringify(body, null, form === "Pretty" ? 2 : 0)}</pre>`}`;
}

const quoted = (text) => (/^[\w./:-]+$/.test(text) ? text : `'${text.replaceAll("'", "'\\''")}'`);

/// The options with which showremote reaches the host's servers, or listens where the host connects to.
function addressOptions({ channel, peer }) {
  if (channel === "FP" || channel === "cloud") {
    const [, address, port] = /^(.*):(\d+)$/.exec(peer) ?? [];
    return [...(address && address !== "127.0.0.1" ? ["--listen", address] : []),
      ...(port && port !== SERVER_PORTS[channel] ? ["--port", port] : [])];
  }
  const listens = live.remotes?.channels.find((one) => one.channel === "app control")?.address.replace(/:\d+$/, "");
  return listens && listens !== "127.0.0.1" ? ["--host", listens === "0.0.0.0" ? location.hostname : listens] : [];
}

/// The arguments of a request that is a keyword or an object with a keyword.
function keywordArguments({ channel, body, text }) {
  if (body === undefined) return channel === "central control" && text !== undefined ? ["--raw", text] : undefined;
  const { cmd, ...rest } = body;
  if (typeof cmd !== "string") return [JSON.stringify(body)];
  return Object.keys(rest).length ? [cmd, JSON.stringify(rest)] : [cmd];
}

/// The arguments of a request with a code.
function codeArguments({ code, name, body, text, bytes }) {
  if (text !== undefined || bytes !== undefined || !code) return undefined;
  if (name === "login") {
    const version = body?.appVersion;
    return ["--user", body?.username ?? "", ...(body?.force ? ["--force"] : []), ...(version ? ["--app-version", version] : []), name];
  }
  return [name ?? code, ...(Object.keys(body ?? {}).length ? [JSON.stringify(body)] : [])];
}

/// The arguments of the upload that an FTP command starts. The file itself is not recorded.
function uploadArguments({ text }) {
  const path = /^STOR (.+?)\s*$/.exec(text ?? "")?.[1].replace(/^\//, "");
  return path && [path.split("/").pop(), ...(path.includes("/") ? ["--as", path] : [])];
}

/// The command of showremote that sends the request, or undefined if there is none.
function commandOf(record) {
  const { channel, from, kind } = record;
  if (from !== "remote" || kind !== "message" || !COMMANDS[channel]) return undefined;
  const [command, argumentsOf] = COMMANDS[channel];
  const words = argumentsOf(record);
  return words && ["showremote", ...command, ...addressOptions(record), ...words].map(quoted).join(" ");
}

function CopyButton({ text, children }) {
  const [done, setDone] = useState(false);
  const copy = async () => {
    if (navigator.clipboard) {
      await navigator.clipboard.writeText(text);
    } else { // pages of other computers than this one have no clipboard
      const area = Object.assign(document.createElement("textarea"), { value: text });
      document.body.append(area);
      area.select();
      document.execCommand("copy");
      area.remove();
    }
    setDone(true);
    setTimeout(() => setDone(false), 1500);
  };
  return html`<button type="button" title=${text.slice(0, 200)} onClick=${copy}>${done ? "Copied" : children}</button>`;
}

export function Details({ record, time, onSelect, onClose }) {
  const command = commandOf(record);
  const { n, channel, connection, peer, from, kind, name, code, size, latency, note, id } = record;
  const section = useRef(null);
  useEffect(() => {
    if (matchMedia("(max-width: 60rem)").matches) section.current.parentElement.scrollIntoView(); // the list is above
  }, []);
  const key = (event) => {
    if (event.key === "Escape") onClose();
  };
  const others = [record.request, ...(record.replies ?? [])].filter(Boolean);
  const facts = {
    Record: `${n}, ${time}`, Channel: `${channel}${connection ? `, connection ${connection}` : ""}`, Peer: peer, Note: note,
    Size: size === undefined ? undefined : `${size} bytes`, Id: id,
    Latency: latency === undefined ? undefined : `${(latency * 1000).toFixed(3)} ms`,
  };
  return html`<section class="details" aria-label="Details" tabIndex="-1" ref=${section} onKeyDown=${key}>
    <div class="title"><h2>${kind === "message" ? `${name ?? "message"} ${from === "remote" ? "from the remote" : "from the host"}` : kind}</h2>
      <button type="button" onClick=${onClose}>Close</button></div>
    <dl>${Object.entries(facts).filter(([, value]) => value).map(([key, value]) => html`<dt>${key}</dt><dd>${value}</dd>`)}
      ${name && html`<dt>Contract</dt><dd><a href=${`#Reference?name=${name}`}>${name}</a> (${code})</dd>`}</dl>
    <div class="buttons">
      ${others.map((other, index) => html`<button type="button" key=${index} onClick=${() => onSelect(other)}>
        ${other === record.request ? "Show the request" : "Show the reply"}</button>`)}
      <${CopyButton} key=${`json ${n}`} text=${JSON.stringify(plainRecord(record))}>Copy as JSON<//>
      ${command && html`<${CopyButton} key=${`command ${n}`} text=${command}>Copy as command<//>`}
      ${command && SENDABLE.includes(channel) && html`<a href=${`#Send?${new URLSearchParams({ channel, name: name ?? code,
        text: record.text ?? JSON.stringify(record.body ?? {}) })}`}>Edit and send</a>`}
    </div>
    ${kind === "message" && html`<${Body} record=${record} />`}
  </section>`;
}
