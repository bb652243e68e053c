// The table of all agents.
import {byId, element, setNote, setText} from "./dom.js";
import {isOnline, now} from "./clock.js";
import {ago, count, nameOf, percent, share} from "./format.js";

// Of more, the filter finds the others: a browser gets slow with thousands of rows.
const mostRows = 500;

const keys = {
  host: (agent) => nameOf(agent).toLowerCase(),
  seen: (agent) => -agent.last_seen,
  cpu: (agent) => -(agent.usage?.cpu_percent ?? -1),
  memory: (agent) => -share(agent.usage),
};

export class Fleet {
  #agents = new Map();
  #rows = new Map();
  #key = "host";
  #direction = 1;
  #chosen = null;
  #body = byId("agents").tBodies[0];

  constructor(onChoose) {
    byId("filter").addEventListener("input", () => this.draw());
    for (const head of byId("agents").querySelectorAll("th[data-key]")) {
      head.querySelector("button").addEventListener("click", () => this.#sortBy(head.dataset.key));
    }
    this.#body.addEventListener("click", (event) => {
      const row = event.target.closest("tr");
      if (row && !event.target.closest("a")) {
        onChoose(Number(row.dataset.id));
      }
    });
  }

  set(agents) {
    this.#agents = new Map(agents.map((agent) => [agent.id, agent]));
    this.draw();
  }

  find(id) {
    return this.#agents.get(id);
  }

  choose(id) {
    this.#chosen = id;
    this.draw();
  }

  // An upload of an agent that is known.
  update(agent) {
    const row = this.#rows.get(agent.id);
    if (row) {
      this.#fill(row, agent);
    }
    this.#drawTotals();
  }

  // Time has passed: who is offline now?
  tick() {
    for (const [id, row] of this.#rows) {
      this.#fillTime(row, this.#agents.get(id));
    }
    this.#drawTotals();
  }

  draw() {
    const wanted = byId("filter").value.trim().toLowerCase();
    const found = [...this.#agents.values()].filter((agent) => this.#text(agent).includes(wanted));
    const key = keys[this.#key];
    found.sort((one, other) => {
      const [a, b] = [key(one), key(other)];
      return (a < b ? -1 : a > b ? 1 : one.id - other.id) * this.#direction;
    });
    const focused = document.activeElement?.closest?.("#agents tbody tr")?.dataset.id;
    this.#rows = new Map(found.slice(0, mostRows).map((agent) => [agent.id, this.#row(agent)]));
    this.#body.replaceChildren(...this.#rows.values());
    this.#rows.get(Number(focused))?.querySelector("a").focus();
    this.#drawNote(found.length);
    this.#drawTotals();
  }

  #text(agent) {
    return `${agent.host_name} ${agent.id} ${agent.distribution} ${agent.agent_version}`.toLowerCase();
  }

  #sortBy(key) {
    this.#direction = key === this.#key ? -this.#direction : 1;
    this.#key = key;
    for (const head of byId("agents").querySelectorAll("th[data-key]")) {
      head.removeAttribute("aria-sort");
      if (head.dataset.key === key) {
        head.setAttribute("aria-sort", this.#direction > 0 === (key === "host") ? "ascending" : "descending");
      }
    }
    this.draw();
  }

  #row(agent) {
    const link = element("a", {href: `#agent/${agent.id}`}, nameOf(agent));
    const head = element("th", {scope: "row"}, element("span", {className: "dot"}), link);
    head.firstChild.setAttribute("aria-hidden", "true");
    if (agent.clone_uploads > 0) {
      head.append(element("span", {className: "tag clone"}, "clone"));
    }
    const id = agent.host_name ? String(agent.id) : "";
    const system = agent.distribution && `${id ? " · " : ""}${agent.distribution}`;
    head.append(element("span", {className: "below"}, id, element("span", {className: "system"}, system)));
    const row = element("tr", {data: {id: agent.id}}, head, element("td", {className: "when"}),
      element("td", {className: "number"}), element("td", {className: "number"}));
    if (agent.id === this.#chosen) {
      row.dataset.chosen = "";
      link.setAttribute("aria-current", "true");
    }
    this.#fill(row, agent);
    return row;
  }

  #fill(row, agent) {
    this.#fillTime(row, agent);
    this.#fillShare(row.cells[2], agent.usage?.cpu_percent);
    this.#fillShare(row.cells[3], agent.usage ? share(agent.usage) : undefined);
  }

  #fillTime(row, agent) {
    const online = isOnline(agent);
    row.cells[0].dataset.state = online ? "online" : "offline";
    row.cells[1].classList.toggle("offline", !online);
    setText(row.cells[1], (online ? "" : "offline, ") + ago(now() - agent.last_seen));
  }

  #fillShare(target, value) {
    if (value === undefined) {
      setText(target, "");
      return;
    }
    if (!target.firstChild) {
      target.append(element("span"), element("span", {className: "share"}, element("span")));
    }
    setText(target.firstChild, percent(value));
    target.lastChild.firstChild.style.width = `${Math.min(value, 100)}%`;
  }

  #drawNote(found) {
    const all = this.#agents.size;
    const note = all === 0 ? "No agent has uploaded yet."
      : found === 0 ? "No agent matches the filter."
        : found > mostRows ? `The first ${mostRows} of ${found}; the filter finds the others.` : "";
    setNote(byId("fleet-note"), note);
  }

  #drawTotals() {
    const agents = [...this.#agents.values()];
    const offline = agents.filter((agent) => !isOnline(agent)).length;
    setText(byId("totals"), count(agents.length, "agent", "agents") +
      (offline > 0 ? `, ${offline} offline` : agents.length > 0 ? ", all online" : ""));
  }
}
