import { Empty, html, useMemo } from "./ui.js";
import { command, useLive } from "./live.js";

function Picture({ path, alt }) {
  return html`<img src=${path} alt=${alt} loading="lazy" width="384" height="216" />`;
}

function Project({ project, projectVersion, stage }) {
  if (!project || !stage) return null;
  if (!stage.projects.length) return html`<${Empty}>The show has no projects. Add some to "projects" in the show file.<//>`;
  if (!project.groups) {
    return html`<${Empty}>No project is open. Open one: <code>showremote app switch-project</code><//>`;
  }
  const { playback } = stage;
  const scene = (group) => ({ id, name, media }) => {
    const current = playback.group === group.id && playback.scene === id;
    return html`<button type="button" class="card" key=${id} aria-current=${current ? "true" : null}
      onClick=${() => command("scene-play", { sceneGroupId: group.id, sceneId: id })}>
      <${Picture} path=${`/scene.jpg?group=${group.id}&scene=${id}&v=${projectVersion}`} alt="" />
      <span class="name">${name}</span>
      <span class="quiet">${media} ${media === 1 ? "medium" : "media"}</span>
      ${current && html`<span class=${`state ${playback.state === "playing" ? "good" : ""}`}>${playback.state}</span>`}
    </button>`;
  };
  const resource = ({ id, name, kind, details, ready }) => html`<div class="card" key=${id}>
    <${Picture} path=${`/resource.jpg?id=${id}&v=${projectVersion}`} alt="" />
    <span class="name">${name}</span>
    <span class="quiet">${[kind, details].filter(Boolean).join(", ")}</span>
    ${!ready && html`<span class="state bad">not ready</span>`}
    ${stage.used.includes(id) && html`<span class="state good">on the stage</span>`}</div>`;
  return html`
    ${project.groups.map((group) => html`<section key=${group.id}><h2>${group.name}</h2>
      ${group.scenes.length
        ? html`<div class="cards">${group.scenes.map(scene(group))}</div>`
        : html`<${Empty}>This group has no scenes.<//>`}</section>`)}
    <section><h2>Resources</h2>
      ${project.resources.length
        ? html`<div class="cards small">${project.resources.map(resource)}</div>`
        : html`<${Empty}>The project has no resources. Upload a file: <code>showremote upload FILE</code><//>`}
    </section>`;
}

/// A project can have thousands of scenes and resources, so they are not compared again with each message of the traffic.
export function Scenes() {
  const { project, projectVersion, stage } = useLive();
  return useMemo(() => html`<${Project} project=${project} projectVersion=${projectVersion} stage=${stage} />`,
    [project, projectVersion, stage]);
}
