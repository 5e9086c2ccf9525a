import { Empty, html, sizeText, useState } from "./ui.js";
import { ask, useLive } from "./live.js";

/// Channels with connections that the host can close. The others exchange datagrams.
const CLOSABLE = ["app control", "app bulk", "app upload", "cloud", "FP"];
const DATAGRAMS = ["app discovery", "central control"];
const SHOWN_PEERS = 10;
const REOPENED = ["cloud", "FP"]; // by the host, after a pause

const timeText = (time) => (time ? new Date(time).toLocaleTimeString("en-GB") : "");

function Connections({ connections, host }) {
  const cell = (label, text, kind = "") => html`<td class=${kind} data-label=${label}>${text}</td>`;
  const row = (one) => html`<tr key=${`${one.channel} ${one.connection} ${one.peer}`}>
    <td>${one.channel}</td>
    <td><a href=${`#Traffic?peer=${encodeURIComponent(one.peer)}`}>${one.peer}</a></td>
    ${cell("User", host.user && one.user)}${cell("Since", timeText(one.since))}${cell("Last message", timeText(one.lastMessage))}
    ${cell("Last heartbeat", timeText(one.lastHeartbeat))}${cell("Requests", one.requests, "number")}
    ${cell("Errors", one.errors, one.errors ? "number refused" : "number")}
    ${cell("Received", sizeText(one.received), "number")}${cell("Sent", sizeText(one.sent), "number")}
    <td>${CLOSABLE.includes(one.channel) && html`<button type="button" aria-label=${`Disconnect ${one.channel} ${one.peer}`}
      title=${REOPENED.includes(one.channel) ? "The host connects again after a pause" : null}
      onClick=${() => ask({ do: "disconnect", channel: one.channel, peer: one.peer })}>Disconnect</button>`}</td></tr>`;
  return html`<div class="wide"><table><thead><tr><th>Channel</th><th>Peer</th><th>User</th><th>Since</th>
    <th>Last message</th><th>Last heartbeat</th><th class="number">Requests</th><th class="number">Errors</th>
    <th class="number">Received</th><th class="number">Sent</th><th><span class="hidden">Action</span></th></tr></thead>
    <tbody>${connections.map(row)}</tbody></table></div>`;
}

/// The peers of datagrams. One that sends each datagram from another port leaves many.
function Peers({ peers, host }) {
  const [all, setAll] = useState(false);
  if (!peers.length) return null;
  const sorted = [...peers].sort((a, b) => (b.lastMessage ?? 0) - (a.lastMessage ?? 0));
  return html`<section><h2>Peers of datagrams</h2>
    <p class="quiet">Central control, discovery and UDP devices exchange datagrams and have no connection that could be closed.</p>
    <${Connections} connections=${all ? sorted : sorted.slice(0, SHOWN_PEERS)} host=${host} />
    ${peers.length > SHOWN_PEERS && html`<div class="buttons"><button type="button" onClick=${() => setAll(!all)}>${all
      ? `Show the newest ${SHOWN_PEERS}` : `Show all ${peers.length.toLocaleString("en")}`}</button></div>`}</section>`;
}

/// Who is logged in. An app can send its heartbeats on either of its connections.
function Login({ host, connections }) {
  if (!host.user) return html`<p class="quiet">No app is logged in.</p>`;
  const owner = connections.find((one) => one.user);
  const ip = owner?.peer.replace(/:\d+$/, "");
  const heartbeats = connections.filter((one) => owner && one.peer.replace(/:\d+$/, "") === ip).map((one) => one.lastHeartbeat ?? 0);
  const last = timeText(Math.max(0, ...heartbeats));
  return html`<p class="quiet">${host.user} is logged in${owner ? ` from ${owner.peer}` : ""}${host.appVersion
    ? `, app version ${host.appVersion}` : ""}${last ? `, last heartbeat ${last}` : ""}.</p>`;
}

function Channels({ channels, connections, host }) {
  const configured = { cloud: host.cloudSupport ? host.cloudUrl : "switched off", FP: host.fpAddress };
  const row = ({ channel, address, note, noteTime }) => {
    const open = connections.filter((one) => one.channel === channel && one.connection > 0).length;
    return html`<tr key=${channel}><td>${channel}</td><td>${address || configured[channel] || ""}</td>
      <td>${open > 0 ? html`<span class="state good">${open} connected</span>` : html`<span class="quiet">${DATAGRAMS.includes(channel)
        ? "datagrams" : "none"}</span>`}</td>
      <td>${note && html`<span class="quiet">${timeText(noteTime)}</span> ${note}`}</td></tr>`;
  };
  return html`<div class="wide"><table><thead><tr><th>Channel</th><th>Address</th><th>Connections</th>
    <th>Last event</th></tr></thead><tbody>${channels.map(row)}</tbody></table></div>`;
}

function Devices({ devices, states }) {
  if (!devices.length) {
    return html`<${Empty}>The show has no external control devices. Add one at the host's
      standard input: <code>${"device put {...}"}</code><//>`;
  }
  return html`<table><thead><tr><th>Name</th><th>Address</th><th>State</th></tr></thead><tbody>${devices.map(({ name, address }) => html`<tr key=${name + address}>
    <td>${name}</td><td><a href=${`#Traffic?channel=devices&peer=${encodeURIComponent(address)}`}>${address}</a></td>
    <td>${states[address] ?? html`<span class="quiet">${/:\d+$/.test(address) ? "datagrams" : "not open"}</span>`}</td></tr>`)}</tbody></table>`;
}

export function Remotes() {
  const { remotes } = useLive();
  if (!remotes) return null;
  const { channels, connections, host, deviceStates } = remotes;
  const isOpen = (one) => one.connection > 0;
  const open = connections.filter(isOpen);
  return html`<div class="remotes">
    <section><h2>Connected remotes</h2>
      <${Login} host=${host} connections=${connections} />
      ${open.length > 0 && html`<${Connections} connections=${open} host=${host} />`}
      ${!open.some(({ channel }) => channel !== "devices") && html`<${Empty}>No remote is connected. Try: <code>showremote app listen</code>${" or "}<code>showremote central getHDR</code><//>`}
    </section>
    <${Peers} peers=${connections.filter((one) => !isOpen(one))} host=${host} />
    <section><h2>Channels</h2>
      <${Channels} channels=${channels} connections=${connections} host=${host} /></section>
    <section><h2>Devices</h2><${Devices} devices=${host.devices} states=${deviceStates} /></section></div>`;
}
