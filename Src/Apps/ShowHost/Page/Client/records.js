// Records of the traffic: of the host, or of a recording that was loaded from a file.
import { live, onMessage } from "./live.js";

const MAX_RECORDS = 100000;
const MAX_BYTES = 128e6;
const DISCARD = 10000; // records that are removed at once, because removing from the front of an array is slow

/// The text in a frame to the cloud service, and the object if it is JSON.
export function cloudData(frame) {
  const text = frame?.data;
  try {
    const body = JSON.parse(text);
    return body && typeof body === "object" ? { body } : { text };
  } catch {
    return { text };
  }
}

/// Whether a reply reports that the request was not carried out. IsRefusal in TrafficStatistics.cpp is the same.
function isRefusal({ channel, code, body, text }) {
  if (channel === "cloud") return isRefusal({ code, ...cloudData(body) });
  if (body?.errorMsg !== undefined) return body.errorMsg !== "SUCCESS";
  if (body && code === "0x003") return body.result !== 0;
  return text !== undefined && text !== "SUCCESS" && live.contract.$defs.resultText.enum.includes(text);
}

export class Records {
  list = [];
  discarded = 0; // records that were removed, or that the host had removed
  removed = 0; // records that were removed from the list; the position of the first one that is in it
  bytes = 0;
  last = 0; // number of the last record
  header = { recording: 1 }; // first line of a recording
  byNumber = new Map();

  add(record) {
    if (record.replyTo !== undefined) {
      record.request = this.byNumber.get(record.replyTo);
      record.refused = isRefusal(record);
      if (record.request) {
        record.latency = record.t - record.request.t;
        record.request.replies = [...(record.request.replies ?? []), record];
        record.request.latency ??= record.latency;
        record.request.refused ||= record.refused;
      }
    }
    record.position = this.removed + this.list.length;
    this.list.push(record);
    this.byNumber.set(record.n, record);
    this.last = record.n;
    this.bytes += record.size ?? 0;
    while (this.list.length >= MAX_RECORDS + DISCARD || (this.bytes > MAX_BYTES && this.list.length > 1)) {
      const old = this.list.splice(0, Math.min(DISCARD, this.list.length >> 1));
      this.removed += old.length;
      this.discarded += old.length;
      for (const { n, size } of old) {
        this.byNumber.delete(n);
        this.bytes -= size ?? 0;
      }
    }
  }

  get end() { return this.removed + this.list.length; }

  clear() {
    this.removed += this.list.length;
    this.list = [];
    this.byNumber.clear();
    this.bytes = 0;
    this.discarded = 0;
  }
}

export const hostRecords = new Records();

onMessage("hello", ({ header }) => {
  const next = JSON.parse(header);
  if (next.started !== hostRecords.header.started) { // another host: its numbers start again
    hostRecords.clear();
    hostRecords.last = 0;
  }
  hostRecords.header = next;
});
onMessage("records", ({ records, discarded }) => {
  // After a lost connection, the host sends all its records again.
  const isAgain = records[0].n <= hostRecords.last;
  if (!isAgain) hostRecords.discarded += discarded;
  records.filter(({ n }) => n > hostRecords.last).forEach((record) => hostRecords.add(record));
});

/// The record as it is in a recording: without what this page has added.
export function plainRecord({ request, replies, latency, refused, position, ...record }) {
  return record;
}

/// The text of a recording with these records.
export function recordingText(header, list) {
  return [header, ...list.map(plainRecord)].map((line) => JSON.stringify(line) + "\n").join("");
}

const isRecord = (object) => Number.isInteger(object?.n) && Number.isFinite(object.t) && typeof object.channel === "string" &&
  typeof object.kind === "string";

/// Reads a recording. Throws an error that names the line if the text is not one.
export function readRecording(text) {
  const records = new Records();
  text.split("\n").forEach((line, index) => {
    if (!line.trim()) return;
    let object;
    try {
      object = JSON.parse(line);
    } catch (error) {
      throw new Error(`line ${index + 1}: ${error.message}`);
    }
    if (!records.isRecording && object?.recording !== 1) throw new Error(`line ${index + 1}: expected {"recording": 1, ...}`);
    if (!records.isRecording) Object.assign(records, { header: object, isRecording: true });
    else if (isRecord(object)) records.add(object);
    else throw new Error(`line ${index + 1}: expected a record with n, t, channel and kind`);
  });
  if (!records.isRecording) throw new Error('the file is empty; expected {"recording": 1, ...} in line 1');
  return records;
}

/// The message of the contract with this code.
export function messageOf(code) {
  return live.contract.messages.find((message) => message.code === code);
}
