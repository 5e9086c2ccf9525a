// The contract's schemas (JSON Schema 2020-12), as far as the contract uses them.
import { live } from "./live.js";

/// The asker in the contract of each channel of the records.
export const ASKERS = {
  "app control": "app", "app bulk": "app-bulk", FP: "fp", "central control": "central", cloud: "cloud",
};

/// Follows references and combines "allOf", so that type, properties and description are in one object.
export function resolved(schema) {
  if (!schema) return {};
  const { $ref, allOf, ...own } = schema;
  const parts = [...($ref ? [live.contract.$defs[$ref.split("/").pop()]] : []), ...(allOf ?? [])].map(resolved);
  const all = [...parts, own];
  const merged = Object.assign({}, ...all);
  const properties = Object.assign({}, ...all.map((part) => part.properties));
  if (Object.keys(properties).length) merged.properties = properties;
  merged.required = all.flatMap((part) => part.required ?? []);
  if ($ref) merged.name = $ref.split("/").pop();
  return merged;
}

/// The schema of a key of an object.
export function propertyOf(schema, key) {
  const { properties = {}, patternProperties = {} } = resolved(schema);
  const pattern = Object.keys(patternProperties).find((text) => new RegExp(text).test(key));
  return properties[key] ?? patternProperties[pattern];
}

/// The schema of what an asker sends. A command is the same for all askers.
export function requestSchema(message, asker) {
  return message?.[asker]?.request ?? message?.command?.request;
}

/// The schemas of the replies and notices of a message to an asker.
export function replySchemas(message, asker) {
  if (!message) return [];
  const echo = message.command && { allOf: [{ $ref: "#/$defs/commandResult" }, message.command.request] };
  return [...(message[asker]?.replies ?? []).map((reply) => reply.body), message.notice?.body, echo].filter(Boolean);
}

/// The schema that describes the most of an object's keys.
export function bestSchema(schemas, object) {
  const count = (schema) => Object.keys(object).filter((key) => propertyOf(schema, key)).length;
  return schemas.reduce((best, schema) => (!best || count(schema) > count(best) ? schema : best), undefined);
}

/// Describes the values that a schema allows, such as "integer, 0 to 100".
export function typeText(schema) {
  const { name, type, enum: values, const: value, minimum, maximum, items, pattern, anyOf, oneOf } = resolved(schema);
  if (value !== undefined) return JSON.stringify(value);
  if (values) return values.map((one) => JSON.stringify(one)).join(" or ");
  if (anyOf ?? oneOf) return (anyOf ?? oneOf).map(typeText).join(" or ");
  if (type === "array") return `array of ${typeText(items)}`;
  const range = minimum === undefined ? "" : maximum === undefined ? `, from ${minimum}` : `, ${minimum} to ${maximum}`;
  const text = (Array.isArray(type) ? type.join(" or ") : type ?? "any value") + range;
  return name && (type === "object" || pattern) ? `${name} (${text})` : text;
}
