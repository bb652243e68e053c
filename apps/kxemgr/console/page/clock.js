// The manager's clock, by which all its times are told; the reader's may be wrong.

let ahead = 0;
let offlineAfter = 120000;

export function setClock(answer) {
  ahead = answer.now - Date.now();
  offlineAfter = answer.offline_after_ms;
}

export const now = () => Date.now() + ahead;

export const isOnline = (agent) => now() - agent.last_seen < offlineAfter;
