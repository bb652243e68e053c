// Numbers and times as people read them. Pure functions.

const two = (number) => String(number).padStart(2, "0");

// "2026-11-21 18:37:05", by the reader's clock.
export function time(ms) {
  const date = new Date(ms);
  return `${date.getFullYear()}-${two(date.getMonth() + 1)}-${two(date.getDate())} ` +
    `${two(date.getHours())}:${two(date.getMinutes())}:${two(date.getSeconds())}`;
}

const units = [[86400, "d"], [3600, "h"], [60, "min"], [1, "s"]];

// "12 s ago"; a moment that is still to come is "now".
export function ago(ms) {
  const seconds = Math.floor(ms / 1000);
  const unit = units.find(([size]) => seconds >= size);
  return unit ? `${Math.floor(seconds / unit[0])} ${unit[1]} ago` : "now";
}

export function percent(number) {
  return `${number < 10 ? number.toFixed(1) : Math.round(number)} %`;
}

export const gibOfKib = (kib) => kib / 1048576;

export function gib(number) {
  return `${number < 10 ? number.toFixed(2) : number.toFixed(1)} GiB`;
}

export const share = (usage) =>
  usage && usage.memory_total_kib > 0 ? 100 * usage.memory_used_kib / usage.memory_total_kib : 0;

// What an agent is called: by its host name, or by its id while it has told none.
export const nameOf = (agent) => agent.host_name || `agent ${agent.id}`;

export const count = (number, one, many) => `${number} ${number === 1 ? one : many}`;
