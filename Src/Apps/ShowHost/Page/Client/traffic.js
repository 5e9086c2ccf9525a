import { Empty, Toggle, html, shortText, sizeText, useEffect, useLayoutEffect, useMemo, useRef, useState } from "./ui.js";
import { changed, live, useLive } from "./live.js";
import { hostRecords, readRecording, recordingText } from "./records.js";
import { Details } from "./details.js";
import { ASKERS } from "./schema.js";

const ROW = 26; // pixels, as .row in style.css
const MORE_ROWS = 10; // rows above and below the visible ones
const WORK_MS = 8; // time to search records in one frame
const SLOW_MS = 100;
const CHANNELS = [...Object.keys(ASKERS), "app discovery", "app upload", "devices"];

let recording = null; // {name, records} of a file, instead of the host's records

/// The function that finds the records of a filter.
function matcher({ channel, peer, name, text, errors, slow, idle }) {
  const [peerPart, namePart, textPart] = [peer, name, text].map((part) => part.toLowerCase());
  const has = (whole, part) => !part || String(whole ?? "").toLowerCase().includes(part);
  return (record) => (!channel || record.channel === channel) && has(record.peer, peerPart) &&
    (has(record.name, namePart) || has(record.code, namePart)) && (!errors || record.refused) &&
    (!slow || record.latency * 1000 >= SLOW_MS) && (!idle || record.name !== "heartbeat") &&
    (!textPart || has(record.text ?? record.note, textPart) || (record.body && has(JSON.stringify(record.body), textPart)));
}

/// The records of a source that match a filter. Searches in steps, so that the page responds while it searches.
class Matches {
  list = [];
  end = Infinity; // position of the first record that is not searched: set while the view is paused

  constructor(records, filter) {
    this.records = records;
    this.matches = matcher(filter);
    this.next = records.removed;
  }

  /// Adds a request that matches only since its reply has arrived, such as one that was refused or slow.
  addLate(request) {
    if (request.position < this.records.removed || !this.matches(request)) return;
    let index = this.list.length;
    while (index > 0 && this.list[index - 1].position > request.position) index--;
    if (this.list[index - 1] !== request) this.list.splice(index, 0, request);
  }

  /// Searches on. Returns how many records at the front of the list have been removed.
  update() {
    const { records } = this;
    const stop = performance.now() + WORK_MS;
    let position = Math.max(this.next, records.removed);
    const end = Math.min(records.end, this.end);
    for (; position < end && (position % 64 || performance.now() < stop); position++) {
      const record = records.list[position - records.removed];
      if (record.request) this.addLate(record.request);
      if (this.matches(record)) this.list.push(record);
    }
    this.next = position;
    if (position < end) changed();
    let gone = 0;
    while (gone < this.list.length && this.list[gone].position < records.removed) gone++;
    if (gone) this.list.splice(0, gone);
    return gone;
  }
}

function timeText(header, { t }) {
  const started = Date.parse(header.started);
  if (Number.isNaN(started)) return t.toFixed(3);
  const time = new Date(started + t * 1000);
  return `${time.toLocaleTimeString("en-GB")}.${String(time.getMilliseconds()).padStart(3, "0")}`;
}

function outcomeText(record) {
  if (record.kind !== "message") return record.kind;
  if (record.refused) return "refused";
  return record.replyTo !== undefined || record.replies ? "ok" : "";
}

function Row({ header, record, index, selected, onSelect }) {
  const direction = record.kind !== "message" ? "" : record.from === "remote" ? "→" : "←";
  return html`<div class=${`row${record.refused ? " refused" : ""}${record.kind === "message" ? "" : " quiet"}`}
    id=${`record-${record.position}`} role="option" aria-selected=${selected ? "true" : "false"}
    style=${{ top: `${index * ROW}px` }} onClick=${() => onSelect(record)}>
    <span>${timeText(header, record)}</span><span>${record.channel}</span><span>${record.peer}</span>
    <span title=${record.from === "remote" ? "from the remote" : "from the host"}>${direction}</span>
    <span>${record.name ?? shortText(record.note ?? record.text ?? record.code)}</span>
    <span class="number">${record.size === undefined ? "" : sizeText(record.size)}</span>
    <span class="number">${record.latency === undefined ? "" : `${(record.latency * 1000).toFixed(1)} ms`}</span>
    <span>${outcomeText(record)}</span></div>`;
}

/// The list. Only the rows that are visible are in the document.
function Rows({ matches, gone, header, follow, setFollow, selected, onSelect }) {
  const box = useRef(null);
  const [top, setTop] = useState(0);
  const count = matches.list.length;
  const height = box.current?.clientHeight ?? 600;
  useLayoutEffect(() => {
    if (follow) box.current.scrollTop = count * ROW;
    else if (gone) box.current.scrollTop -= gone * ROW; // the rows stay where the reader sees them
  }, [matches, gone, count, follow]);
  const from = Math.max(0, Math.floor((follow ? count * ROW - height : top) / ROW) - MORE_ROWS);
  const rows = matches.list.slice(from, from + Math.ceil(height / ROW) + 2 * MORE_ROWS);

  const scroll = () => {
    const { scrollTop, clientHeight, scrollHeight } = box.current;
    setTop(scrollTop);
    const isAtEnd = scrollTop + clientHeight >= scrollHeight - ROW;
    if (isAtEnd !== follow) setFollow(isAtEnd);
  };
  const key = (event) => {
    if (event.key === "Escape") onSelect(null);
    if (event.key === "Enter") document.querySelector(".details")?.focus();
    const page = Math.floor(height / ROW);
    const step = { ArrowDown: 1, ArrowUp: -1, PageDown: page, PageUp: -page, Home: -count, End: count }[event.key];
    if (!step || !count) return;
    event.preventDefault();
    const now = selected ? matches.list.indexOf(selected) : -1;
    const index = Math.min(count - 1, Math.max(0, now + step));
    onSelect(matches.list[index]);
    setFollow(false);
    const { scrollTop } = box.current;
    box.current.scrollTop = Math.min(index * ROW, Math.max(scrollTop, (index + 1) * ROW - height));
  };
  return html`<div class="rows" ref=${box} role="listbox" tabIndex="0" aria-label="Records"
    aria-activedescendant=${selected ? `record-${selected.position}` : null} onScroll=${scroll} onKeyDown=${key}>
    <div class="space" style=${{ height: `${count * ROW}px` }}>
      ${rows.map((record, i) => html`<${Row} key=${record.position} header=${header} record=${record} index=${from + i}
        selected=${record === selected} onSelect=${onSelect} />`)}
    </div></div>`;
}

function saveFile(name, text) {
  const url = URL.createObjectURL(new Blob([text], { type: "application/jsonl" }));
  Object.assign(document.createElement("a"), { href: url, download: name }).click();
  setTimeout(() => URL.revokeObjectURL(url), 10000);
}

async function load(event) {
  const [file] = event.target.files;
  event.target.value = "";
  try {
    recording = { name: file.name, records: readRecording(await file.text()) };
    live.problem = "";
  } catch (error) {
    live.problem = `${file.name}: ${error.message}`;
  }
  changed();
}

function Filter({ filter, setFilter }) {
  const set = (key) => ({ target }) => setFilter({ ...filter, [key]: target.type === "checkbox" ? target.checked : target.value });
  const field = (key, label) => html`<label>${label} <input type="search" value=${filter[key]} onInput=${set(key)} /></label>`;
  const box = (key, label) => html`<label><input type="checkbox" checked=${filter[key]} onChange=${set(key)} /> ${label}</label>`;
  return html`<form class="filter" onSubmit=${(event) => event.preventDefault()}>
    <label>Channel <select value=${filter.channel} onChange=${set("channel")}><option value="">all</option>
      ${CHANNELS.map((name) => html`<option key=${name}>${name}</option>`)}</select></label>
    ${field("peer", "Peer")} ${field("name", "Name")} ${field("text", "Text")}
    ${box("errors", "errors only")} ${box("slow", `slow only (${SLOW_MS} ms)`)} ${box("idle", "hide heartbeats")}</form>`;
}

export function Traffic({ query }) {
  useLive();
  const records = recording?.records ?? hostRecords;
  const filter = {
    channel: query.get("channel") ?? "", peer: query.get("peer") ?? "", name: query.get("name") ?? "",
    text: query.get("text") ?? "", errors: query.has("errors"), slow: query.has("slow"),
    idle: query.has("idle"),
  };
  const setFilter = (next) => {
    const set = Object.entries(next).filter(([, value]) => value);
    history.replaceState(null, "", `#Traffic${set.length ? "?" : ""}${new URLSearchParams(set)}`);
    dispatchEvent(new HashChangeEvent("hashchange"));
  };
  const matches = useMemo(() => new Matches(records, filter), [records, query.toString(), records.list]);
  const [follow, setFollow] = useState(true);
  const [paused, setPaused] = useState(false);
  const [selected, select] = useState(null);
  matches.end = paused ? Math.min(matches.end, records.end) : Infinity;
  useEffect(() => select(null), [records]);
  const show = (record) => { setFollow(false); select(record); };
  const close = () => {
    select(null);
    document.querySelector(".rows").focus();
  };
  const gone = matches.update();
  const count = matches.list.length.toLocaleString("en");
  // A body of megabytes is not formatted again with each message that arrives.
  const details = useMemo(() => selected && html`<${Details} record=${selected} time=${timeText(records.header, selected)}
    onSelect=${show} onClose=${close} />`, [selected, selected?.replies, live.contract]);

  return html`<div class="traffic">
    <${Filter} filter=${filter} setFilter=${setFilter} />
    <div class="buttons">
      <${Toggle} on=${follow} onChange=${setFollow}>Follow<//>
      <${Toggle} on=${paused} onChange=${setPaused}>Pause<//>
      <button type="button" onClick=${() => { records.clear(); select(null); changed(); }}>Clear</button>
      <button type="button" disabled=${!matches.list.length}
        onClick=${() => saveFile("traffic.jsonl", recordingText(records.header, matches.list))}>Save ${count} ${matches.list.length === 1 ? "record" : "records"}</button>
      <label class="button">Load a recording <input type="file" accept=".jsonl,.json,.txt" onChange=${load} /></label>
      ${recording && html`<button type="button" onClick=${() => { recording = null; changed(); }}>Show the host's traffic</button>`}
      <span class="quiet" role="status">${recording ? `${recording.name}: ` : ""}${count} of
        ${" "}${records.list.length.toLocaleString("en")} ${records.list.length === 1 ? "record" : "records"}${records.discarded
          ? `; ${records.discarded.toLocaleString("en")} older ones were discarded` : ""}</span>
    </div>
    <div class=${selected ? "split" : ""}>
      <div class="list">
        <div class="row head"><span>Time</span><span>Channel</span><span>Peer</span><span></span><span>Name</span>
          <span class="number">Size</span><span class="number">Latency</span><span>Outcome</span></div>
        <${Rows} matches=${matches} gone=${gone} header=${records.header} follow=${follow} setFollow=${setFollow} selected=${selected}
          onSelect=${show} />
        ${!matches.list.length && html`<${Empty}>${records.list.length
          ? "No record matches the filter."
          : html`No message yet. Try: <code>showremote app host-name-and-version</code>`}<//>`}
      </div>
      ${details}
    </div></div>`;
}
