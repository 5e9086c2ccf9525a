import { Empty, html, sizeText } from "./ui.js";
import { ask, useLive } from "./live.js";

/// Channels with connections that the host can close. The others exchange datagrams.
const CLOSABLE = ["app control", "app bulk", "app upload", "cloud", "FP"];
const REOPENED = ["cloud", "FP"]; // by the host, after a pause

const timeText = (time) => (time ? new Date(time).toLocaleTimeString("en-GB") : "");

function Connections({ connections, host }) {
  if (!connections.length) {
    return html`<${Empty}>No remote is connected. Try: <code>showremote app listen</code>${" or "}<code>showremote central getHDR</code><//>`;
  }
  const row = (one) => html`<tr key=${`${one.channel} ${one.connection} ${one.peer}`}>
    <td>${one.channel}</td>
    <td><a href=${`#Traffic?peer=${encodeURIComponent(one.peer)}`}>${one.peer}</a></td>
    <td>${host.user && one.user}</td><td>${timeText(one.since)}</td><td>${timeText(one.lastMessage)}</td>
    <td>${timeText(one.lastHeartbeat)}</td>
    <td class="number">${one.requests}</td>
    <td class=${one.errors ? "number refused" : "number"}>${one.errors}</td>
    <td class="number">${sizeText(one.received)}</td><td class="number">${sizeText(one.sent)}</td>
    <td>${CLOSABLE.includes(one.channel) && html`<button type="button" aria-label=${`Disconnect ${one.channel} ${one.peer}`}
      title=${REOPENED.includes(one.channel) ? "The host connects again after a pause" : null}
      onClick=${() => ask({ do: "disconnect", channel: one.channel, peer: one.peer })}>Disconnect</button>`}</td></tr>`;
  return html`<div class="wide"><table><thead><tr><th>Channel</th><th>Peer</th><th>User</th><th>Since</th>
    <th>Last message</th><th>Last heartbeat</th><th class="number">Requests</th><th class="number">Errors</th>
    <th class="number">Received</th><th class="number">Sent</th><th></th></tr></thead>
    <tbody>${connections.map(row)}</tbody></table></div>`;
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
      <td>${open > 0 ? html`<span class="state good">${open} connected</span>` : html`<span class="quiet">none</span>`}</td>
      <td>${note && html`<span class="quiet">${timeText(noteTime)}</span> ${note}`}</td></tr>`;
  };
  return html`<div class="wide"><table><thead><tr><th>Channel</th><th>Address</th><th>Connections</th>
    <th>Last event</th></tr></thead><tbody>${channels.map(row)}</tbody></table></div>`;
}

function Devices({ devices, states }) {
  if (!devices.length) {
    return html`<${Empty}>The show has no external control devices. Add one at the host's standard input:
      <code>device put {"{"}...{"}"}</code><//>`;
  }
  return html`<table><tbody>${devices.map(({ name, address }) => html`<tr key=${name + address}>
    <td>${name}</td><td><a href=${`#Traffic?channel=devices&peer=${encodeURIComponent(address)}`}>${address}</a></td>
    <td>${states[address] ?? ""}</td></tr>`)}</tbody></table>`;
}

export function Remotes() {
  const { remotes } = useLive();
  if (!remotes) return null;
  const { channels, connections, host, deviceStates } = remotes;
  return html`
    <section><h2>Connected remotes</h2>
      <${Login} host=${host} connections=${connections} />
      <${Connections} connections=${connections} host=${host} />
      ${connections.length > 0 && html`<p class="quiet note">Central control, discovery and UDP devices exchange datagrams: there is no
        connection to close. The host opens a serial port for as long as its device exists.</p>`}</section>
    <section><h2>Channels</h2>
      <${Channels} channels=${channels} connections=${connections} host=${host} /></section>
    <section><h2>Devices</h2><${Devices} devices=${host.devices} states=${deviceStates} /></section>`;
}
