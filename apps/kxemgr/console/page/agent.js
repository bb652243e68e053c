// Everything about one agent.
import {ask} from "./api.js";
import {isOnline, now} from "./clock.js";
import {byId, cell, element, none, setNote, setText} from "./dom.js";
import {ago, count, nameOf, time} from "./format.js";
import {History} from "./history.js";

// Of more adapters the first, since the link to the manager is the first of all.
const mostAdapters = 200;

const words = {
  adapter: (change) => change.before ? "adapter gone" : "adapter new",
  address: (change) => change.before ? `${change.before} gone` : `${change.after} new`,
};

function list(target, pairs) {
  target.replaceChildren(...pairs.filter(([, value]) => value)
    .flatMap(([name, value]) => [element("dt", null, name), element("dd", null, value)]));
}

function addresses(label, texts) {
  const items = texts.map((text) => element("li", null, text));
  return cell(label, "address mono", items.length > 0 ? element("ul", null, ...items) : none());
}

// A MAC is not broken at its hyphens; what only stands in its place may be.
const item = (text) => element("span", {className: /^[0-9A-F-]{17}$/i.test(text) ? "mono mac" : "address"}, text);

// Times and words that go on with the clock are kept in the elements that show them.
const since = (ms) => element("time", {title: time(ms), data: {since: ms}}, ago(now() - ms));

export class Agent {
  #id = null;
  #agent = null;
  #asked = 0;
  #history = new History();

  get id() {
    return this.#id;
  }

  // Shows an agent; resolves to false when there is none of that id.
  async show(id) {
    this.#id = id;
    const [found] = await Promise.all([this.load(), this.#history.load(id)]);
    return found;
  }

  hide() {
    this.#id = null;
    this.#agent = null;
  }

  async load() {
    const asked = ++this.#asked;
    const agent = await ask(`/api/agents/${this.#id}`);
    if (asked === this.#asked && agent && agent.id === this.#id) {
      this.#agent = agent;
      this.#history.setLatest(agent.usage);
      this.#draw();
    }
    return agent !== null;
  }

  reloadHistory() {
    return this.#history.load(this.#id);
  }

  onUpload(upload) {
    this.#history.append(upload.time, upload.usage);
    if (this.#agent && upload.accepted) {
      this.#agent.last_seen = Math.max(this.#agent.last_seen, upload.time);
      this.tick();
    }
  }

  tick() {
    if (!this.#agent) {
      return;
    }
    const online = isOnline(this.#agent);
    const state = byId("agent-state");
    state.dataset.state = online ? "online" : "offline";
    state.children[1].textContent = online ? "online" : "offline";
    setText(state.children[2], `, last upload ${ago(now() - this.#agent.last_seen)}`);
    for (const node of document.querySelectorAll("#agent time")) {
      setText(node, ago(now() - Number(node.dataset.since)));
    }
  }

  #draw() {
    const agent = this.#agent;
    setText(byId("agent-title"), nameOf(agent));
    byId("agent-state").replaceChildren(
      element("span", {className: "dot"}), element("b"), element("span"));
    this.#drawClones(agent.clones);
    this.#drawSystem(agent.system ?? {});
    this.#drawVersions(agent.system?.agent_info ?? {}, agent.login?.usr_info?.[0]);
    this.#drawAdapters(agent.system?.nw_info?.if_info ?? [], agent.changes);
    this.#drawChanges(agent.changes);
    this.tick();
  }

  #drawClones(clones) {
    byId("clones").hidden = clones.length === 0;
    byId("clones").replaceChildren(
      element("strong", null, "Another machine uses this agent's id"),
      element("ul", null, ...clones.map((clone) => element("li", null,
        `${clone.host_name || "a machine without a name"}, MAC ${clone.macs.split(",").join(", ")}, ` +
        `${count(clone.uploads, "upload", "uploads")}, the last `, since(clone.last_seen)))));
  }

  #drawSystem(system) {
    const base = system.base_info ?? {};
    const kernel = [base.sys_release, base.sys_version].filter(Boolean).join(" ");
    const bits = {3: "32-bit", 4: "64-bit"}[base.host_plat];
    list(byId("system"), [
      ["Distribution", base.sys_distro],
      ["Kernel", kernel],
      ["Processors", [base.cpu_core, base.sys_machine, bits].filter(Boolean).join(", ")],
      ["Machine", system.base_info && (base.physical ? "physical" : "virtual")],
      ["Virtual machine", base.uVmid !== "0" && base.uVmid],
      ["Container", base.containerId],
      ["First seen", time(this.#agent.first_seen)],
    ]);
  }

  #drawVersions(versions, login) {
    list(byId("versions"), [
      ["Id", String(this.#agent.id)],
      ["Version", versions.agent_version],
      ["Virus database", versions.virus_version],
      ["Patch database", versions.patchdb_version],
      ["IOA database", versions.ioadb_version],
      ["IOC database", versions.iocdb_version],
      ["Manager", versions.mgr_addr],
      ["Last login", login && `${login.login_name || "(no name)"}${login.login_ip ? ` from ${login.login_ip}` : ""}, ${login.login_time}`],
    ]);
  }

  #drawAdapters(adapters, changes) {
    const rows = adapters.slice(0, mostAdapters).map((adapter, index) => {
      const mac = cell("MAC", "", element("span", null, adapter.if_mac ? item(adapter.if_mac) : none(),
        ...(index === 0 ? [element("span", {className: "tag"}, "link")] : [])));
      const last = changes.find((change) => change.item === adapter.if_mac && words[change.subject]);
      const changed = last ? element("span", null, words[last.subject](last), ", ", since(last.time)) : none();
      return element("tr", null, mac, addresses("IPv4", adapter.if_ipv4), addresses("IPv6", adapter.if_ipv6),
        cell("Last change", "", changed));
    });
    byId("adapters").tBodies[0].replaceChildren(...rows);
    byId("adapters").parentElement.hidden = rows.length === 0;
    setNote(byId("adapters-note"), rows.length === 0 ? "This agent has told no adapter."
      : adapters.length > mostAdapters ? `The first ${mostAdapters} of ${adapters.length}.` : "");
  }

  #drawChanges(changes) {
    const rows = changes.map((change) => element("tr", null,
      cell("When", "when", element("span", {title: time(change.time)}, time(change.time))),
      cell("What", "", element("span", null, change.subject, " ", item(change.item))),
      cell("Before", "address", change.before || none()),
      cell("After", "address", change.after || none())));
    byId("changes").tBodies[0].replaceChildren(...rows);
    byId("changes").parentElement.hidden = rows.length === 0;
    setNote(byId("changes-note"), rows.length === 0 ? "Nothing has changed since this agent was first seen." : "");
  }
}
