// The page: what is shown, and how it stays live.
import {Agent} from "./agent.js";
import {ask} from "./api.js";
import {isOnline, setClock} from "./clock.js";
import {announce, byId, setText} from "./dom.js";
import {Fleet} from "./fleet.js";
import {nameOf} from "./format.js";

// Answers to many events in a row are asked for once.
const pauseMs = 1000;
// Averages over steps of time replace the single uploads that were appended meanwhile.
const refreshMs = 5 * 60 * 1000;

const fleet = new Fleet((id) => {
  location.hash = `agent/${id}`;
});
const agent = new Agent();
const states = new Map();  // id: was it online at the last tick?

// At most one call in pauseMs; what is asked for meanwhile is done once behind it.
function calmly(work) {
  let waiting = false;
  return () => {
    if (!waiting) {
      waiting = true;
      setTimeout(() => {
        waiting = false;
        work().catch(() => {});
      }, pauseMs);
    }
  };
}

function setConnection(state, words) {
  byId("connection").dataset.state = state;
  setText(byId("connection-words"), words);
}

async function loadFleet() {
  const answer = await ask("/api/agents");
  setClock(answer);
  fleet.set(answer.agents);
  for (const one of answer.agents) {
    states.set(one.id, isOnline(one));
  }
}

const reloadFleet = calmly(loadFleet);
const reloadAgent = calmly(async () => agent.id !== null && agent.load());

// Shows what the address names: "#agent/42", or all agents.
async function route() {
  const match = /^#agent\/(\d+)$/.exec(location.hash);
  const id = match ? Number(match[1]) : null;
  fleet.choose(id);
  document.body.classList.toggle("one", id !== null);
  byId("agent").hidden = id === null;
  byId("choose").hidden = id !== null;
  if (id === null) {
    agent.hide();
    document.title = "kxemgr console";
  } else if (await agent.show(id)) {
    document.title = `${byId("agent-title").textContent} - kxemgr console`;
  } else {
    announce("There is no such agent.");
    location.hash = "";
  }
}

function onUpload(upload) {
  const known = fleet.find(upload.id);
  if (!known || upload.facts || upload.duplicate) {
    reloadFleet();
  }
  if (upload.duplicate) {
    announce(`Another machine uses the id of ${known ? nameOf(known) : upload.id}.`);
  } else if (known) {
    known.last_seen = Math.max(known.last_seen, upload.time);
    known.usage = upload.usage ?? known.usage;
    fleet.update(known);
  }
  if (upload.id === agent.id) {
    if (!upload.duplicate) {
      agent.onUpload(upload);
    }
    if (upload.facts || upload.duplicate) {
      reloadAgent();
    }
  }
}

function tick() {
  fleet.tick();
  agent.tick();
  for (const [id, was] of states) {
    const one = fleet.find(id);
    const is = one !== undefined && isOnline(one);
    if (one && is !== was) {
      announce(`${nameOf(one)} is ${is ? "online" : "offline"}.`);
      states.set(id, is);
    }
  }
}

// After each connection everything is asked for anew: events that were missed are not sent again.
async function onHello(event) {
  setClock(JSON.parse(event.data));
  setConnection("live", "live");
  await loadFleet();
  if (agent.id !== null) {
    await Promise.all([agent.load(), agent.reloadHistory()]);
  }
}

function connect() {
  const events = new EventSource("/api/events");
  events.addEventListener("hello", (event) => onHello(event).catch(() => {}));
  events.addEventListener("upload", (event) => onUpload(JSON.parse(event.data)));
  events.onerror = () => {
    setConnection("lost", "connection lost, trying again");
    // The browser tries again by itself unless it was refused; then the token is asked for first.
    if (events.readyState === EventSource.CLOSED) {
      events.close();
      setTimeout(start, 2000);
    }
  };
}

async function start() {
  try {
    await loadFleet();
  } catch {
    setConnection("lost", "the manager does not answer");
    setTimeout(start, 2000);
    return;
  }
  connect();
}

addEventListener("hashchange", () => route().then(() => {
  if (agent.id !== null) {
    byId("agent-title").focus({preventScroll: matchMedia("(min-width: 1080px)").matches});
  }
}).catch(() => {}));
setInterval(tick, 1000);
setInterval(() => agent.id !== null && agent.reloadHistory().catch(() => {}), refreshMs);
await start();
await route().catch(() => {});
