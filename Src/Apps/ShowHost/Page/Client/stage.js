import { Empty, Toggle, clockText, html, useEffect, useRef, useState } from "./ui.js";
import { command, live, useLive } from "./live.js";

const SEND_MS = 50; // shortest time between two commands while a slider moves

/// A slider that sends its value while it moves and shows the host's otherwise.
function Slider({ label, value, onMove }) {
  const [own, setOwn] = useState(null);
  const last = useRef({ time: 0, timer: 0 });
  const send = (number) => {
    clearTimeout(last.current.timer);
    const wait = Math.max(0, last.current.time + SEND_MS - performance.now());
    last.current.timer = setTimeout(() => { last.current.time = performance.now(); onMove(number); }, wait);
  };
  const move = (event) => { setOwn(+event.target.value); send(+event.target.value); };
  return html`<label class="slider"><span>${label}</span>
    <input type="range" min="0" max="100" value=${own ?? value} onInput=${move}
      onChange=${() => setTimeout(() => setOwn(null), 300)} />
    <output>${own ?? value} %</output></label>`;
}

/// The time in the current scene. It goes on between two messages of the host.
function Position({ playback }) {
  const [, redraw] = useState(0);
  const plays = playback.state === "playing";
  useEffect(() => {
    if (!plays) return undefined;
    const timer = setInterval(() => redraw((count) => count + 1), 250);
    return () => clearInterval(timer);
  }, [plays]);
  return html`<time>${clockText(playback.position + (plays ? performance.now() - live.stageTime : 0))}</time>`;
}

/// The outline of a screen over the picture.
function Outline({ screen, area }) {
  const { x, y, width, height } = screen.place;
  const share = (part, whole) => `${(100 * part) / whole}%`;
  const style = {
    left: share(x - area.x, area.width), top: share(y - area.y, area.height),
    width: share(width, area.width), height: share(height, area.height),
  };
  return html`<div class=${`screen${screen.open ? "" : " closed"}`} style=${style}>
    <span>${screen.name} · ${screen.open ? "open" : "closed"}</span></div>`;
}

function Playback({ playback }) {
  const play = (param) => command("play-control", { param });
  return html`<section>
    <h2>Playback</h2>
    <p class="scene">${playback.sceneName
      ? html`<strong>${playback.sceneName}</strong> <span class="quiet">in ${playback.groupName}</span>`
      : html`<span class="quiet">No scene is selected.</span>`}</p>
    <p class="scene"><span class=${`state ${playback.state === "playing" ? "good" : ""}`}>${playback.state}</span>
      <${Position} playback=${playback} /></p>
    <div class="transport">
      <button type="button" onClick=${() => command("play-next-or-last", { param: 0 })}>Previous</button>
      ${playback.state === "playing"
        ? html`<button type="button" onClick=${() => play(1)}>Pause</button>`
        : html`<button type="button" class="main" onClick=${() => play(0)}>Play</button>`}
      <button type="button" onClick=${() => play(2)}>Stop</button>
      <button type="button" onClick=${() => play(3)}>Restart</button>
      <button type="button" onClick=${() => command("play-next-or-last", { param: 1 })}>Next</button>
    </div>
  </section>`;
}

function Effects({ stage }) {
  const set = (name) => (value) => command(name, { param: Number(value) });
  return html`<section>
    <h2>Sound and light</h2>
    <${Slider} label="Volume" value=${stage.volume} onMove=${set("volume")} />
    <${Slider} label="Brightness" value=${stage.brightness} onMove=${set("brightness")} />
    <p class="quiet">Scene volume: left ${stage.playback.left} %, right ${stage.playback.right} %</p>
    <div class="buttons">
      <${Toggle} on=${stage.mute} onChange=${set("mute")}>Mute<//>
      <${Toggle} on=${stage.black} onChange=${set("black-screen")}>Black screen<//>
      <${Toggle} on=${stage.hdr} onChange=${set("switch-hdr")}>HDR<//>
      <label>HDR by <select value=${stage.softwareHdr ? "1" : "0"} disabled=${!stage.hdr}
        onChange=${(event) => set("switch-hdr-kind")(event.target.value)}>
        <option value="0">hardware</option><option value="1">software</option></select></label>
    </div>
  </section>`;
}

function Screens({ screens }) {
  const open = (param) => command("open-screens", { param });
  const row = (screen) => html`<tr key=${screen.id}><td>${screen.name}</td>
    <td class="number">${screen.place.width} × ${screen.place.height}</td>
    <td>${[screen.open ? "open" : "closed", `state ${screen.state}`, !screen.added && "not on the stage",
      !screen.useful && "not usable"].filter(Boolean).join(", ")}</td></tr>`;
  return html`<section>
    <h2>Screens</h2>
    ${screens.length
      ? html`<table class="screens"><tbody>${screens.map(row)}</tbody></table>`
      : html`<${Empty}>The show has no screens. Add some to "screens" in the show file.<//>`}
    <div class="buttons">
      <button type="button" onClick=${() => open(1)}>Open all</button>
      <button type="button" onClick=${() => open(0)}>Close all</button>
    </div>
  </section>`;
}

function Projects({ stage }) {
  if (stage.projects.length < 2) return null;
  return html`<section><h2>Project</h2>
    <select aria-label="Open project" value=${stage.project}
      onChange=${(event) => command("switch-project", { projectId: event.target.value })}>
      ${stage.projects.map(({ id, name }) => html`<option key=${id} value=${id}>${name}</option>`)}
    </select></section>`;
}

export function Stage() {
  const { stage, picture } = useLive();
  if (!stage) return html`<div class="stage"><div class="picture"></div></div>`;
  const { area, screens } = stage;
  return html`<div class="stage">
    <div class="picture" style=${{ aspectRatio: `${area.width} / ${area.height}` }}>
      ${picture && html`<img src=${picture} alt="The stage" width=${area.width} height=${area.height} />`}
      ${screens.filter((screen) => screen.added).map((screen) =>
        html`<${Outline} key=${screen.id} screen=${screen} area=${area} />`)}
    </div>
    <div class="controls">
      <${Playback} playback=${stage.playback} />
      <${Effects} stage=${stage} />
    </div>
    <div class="setup">
      <${Screens} screens=${screens} />
      <${Projects} stage=${stage} />
    </div>
  </div>`;
}
