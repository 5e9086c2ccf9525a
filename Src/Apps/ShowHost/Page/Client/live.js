// The connection to the host, and what the host has sent.
import { useEffect, useReducer } from "./ui.js";

const RECONNECT_MS = 1000;

export const live = {
  connected: false,
  contract: { messages: [], $defs: {} },
  stage: null,
  stageTime: 0, // when the stage's state came, in the page's time
  project: null,
  projectVersion: 0, // in the addresses of thumbnails, so that a changed project's are fetched again
  remotes: null,
  picture: "", // address of the stage's picture
  problem: "", // the last command that was not carried out
};

const redraws = new Set();
const waiting = new Map(); // what is called with the host's answer, by the id of the question
const handlers = {
  project: (message) => { live.project = message; live.projectVersion++; },
  stage: (message) => { live.stage = message; live.stageTime = performance.now(); },
  remotes: (message) => { live.remotes = message; },
  done: (message) => { waiting.get(message.id)?.(message); waiting.delete(message.id); },
};
const decoder = new TextDecoder();
let socket = null;
let lastId = 0;
let frame = 0;

/// Sets what is called with the host's messages of a kind.
export function onMessage(kind, handler) {
  handlers[kind] = handler;
}

/// Redraws the views, at most once a frame however many messages come.
export function changed() {
  frame ||= requestAnimationFrame(() => {
    frame = 0;
    redraws.forEach((redraw) => redraw());
  });
}

/// Returns what the host has sent, and redraws the component when it changes.
export function useLive() {
  const [, redraw] = useReducer((count) => count + 1, 0);
  useEffect(() => {
    redraws.add(redraw);
    return () => redraws.delete(redraw);
  }, []);
  return live;
}

/// Whether a message is the stage as JPEG. Binary messages with records begin with a brace.
function isPicture(data) {
  return typeof data !== "string" && new Uint8Array(data, 0, 1)[0] === 0xff;
}

/// Fetches the contract and connects. Connects again whenever the connection ends: the next host can have another contract.
export async function start() {
  try {
    live.contract = await (await fetch("/contract.json")).json();
  } catch {
    setTimeout(start, RECONNECT_MS);
    return;
  }
  socket = new WebSocket(`ws://${location.host}/live`);
  socket.binaryType = "arraybuffer";
  socket.onopen = () => { live.connected = true; changed(); };
  socket.onmessage = ({ data }) => {
    if (isPicture(data)) {
      URL.revokeObjectURL(live.picture);
      live.picture = URL.createObjectURL(new Blob([data], { type: "image/jpeg" }));
    } else {
      const message = JSON.parse(typeof data === "string" ? data : decoder.decode(data));
      handlers[message.kind]?.(message);
    }
    changed();
  };
  socket.onclose = () => {
    live.connected = false;
    waiting.forEach((resolve) => resolve({ error: "the connection to the host was lost" }));
    waiting.clear();
    changed();
    setTimeout(start, RECONNECT_MS);
  };
}

/// Asks the host and returns its answer. While the host is not connected, the answer is an error.
export function ask(question) {
  if (!live.connected) return Promise.resolve({ error: "the host is not connected" });
  const id = ++lastId;
  return new Promise((resolve) => {
    waiting.set(id, resolve);
    socket.send(JSON.stringify({ ...question, id }));
  });
}

/// Has the host carry out a command, as from a remote. A refusal is shown at the top of the page.
/// \param name the request's name in the contract
export async function command(name, body) {
  const { code } = live.contract.messages.find((message) => message.name === name);
  const answer = await ask({ do: "command", code, body });
  const result = answer.error ?? answer.result;
  live.problem = result === "SUCCESS" ? "" : `${name}: ${result}`;
  changed();
}
