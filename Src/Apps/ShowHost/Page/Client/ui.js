// The libraries in one place, and small parts that several views use.
import { h, render } from "./preact.js";
import { useEffect, useLayoutEffect, useMemo, useReducer, useRef, useState } from "./hooks.js";
import htm from "./htm.js";

const SHOWN_CHARACTERS = 500;

export const html = htm.bind(h);
export { render, useEffect, useLayoutEffect, useMemo, useReducer, useRef, useState };

/// Shows what to do next where there is nothing to show.
export function Empty({ children }) {
  return html`<p class="empty">${children}</p>`;
}

/// A button that is pressed while `on` is true.
export function Toggle({ on, onChange, children }) {
  return html`<button type="button" aria-pressed=${on ? "true" : "false"} onClick=${() => onChange(!on)}>${children}</button>`;
}

/// The beginning of a long text.
export function shortText(text = "") {
  return text.length > SHOWN_CHARACTERS ? `${text.slice(0, SHOWN_CHARACTERS)}…` : text;
}

/// Formats milliseconds as "1:02:03" or "2:03".
export function clockText(milliseconds) {
  const seconds = Math.floor(milliseconds / 1000);
  const two = (number) => String(number).padStart(2, "0");
  const hours = Math.floor(seconds / 3600);
  const minutes = Math.floor(seconds / 60) % 60;
  return (hours ? `${hours}:${two(minutes)}` : `${minutes}`) + `:${two(seconds % 60)}`;
}

/// Formats a size in the largest unit in which it is at least 1.
export function sizeText(bytes) {
  if (bytes < 1000) return `${bytes} B`;
  return bytes < 1e6 ? `${(bytes / 1e3).toFixed(1)} kB` : `${(bytes / 1e6).toFixed(1)} MB`;
}
