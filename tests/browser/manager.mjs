// A manager with its console, and an agent that sends what it is told, for one test.
import {spawn} from "node:child_process";
import {once} from "node:events";
import {copyFileSync, mkdirSync, mkdtempSync, rmSync} from "node:fs";
import {tmpdir} from "node:os";
import {join} from "node:path";
import {createInterface} from "node:readline";

// The build's folder with the programs.
const build = process.env.KX_BUILD;

function copyPrograms() {
  const root = mkdtempSync(join(tmpdir(), "kx-browser-"));
  for (const folder of ["bin", "config", "var"]) {
    mkdirSync(join(root, folder));
  }
  copyFileSync(join(build, "apps/kxemgr/kxemgr"), join(root, "bin/kxemgr"));
  copyFileSync(join(build, "tests/e2e/console/console_uploader"), join(root, "bin/uploader"));
  return root;
}

export class Manager {
  #root = copyPrograms();
  #program = null;
  #uploader = null;
  #answers = null;
  url = "";

  file(path) {
    return join(this.#root, path);
  }

  // Starts the manager, at `port` when it is to be found where it was before.
  async start(...options) {
    const port = this.url ? new URL(this.url).port : "0";
    this.#program = spawn(this.file("bin/kxemgr"), ["--http", `127.0.0.1:${port}`, ...options],
      {stdio: ["ignore", "ignore", "pipe"]});
    for await (const line of createInterface(this.#program.stderr)) {
      const match = /console at (http:\S+)/.exec(line);
      if (match) {
        this.url = match[1];
        return;
      }
      throw new Error(line);
    }
    throw new Error("the manager ended");
  }

  async stop() {
    this.#uploader?.stdin.end();
    this.#uploader = null;
    this.#program.kill("SIGTERM");
    await once(this.#program, "exit");
  }

  // Sends an upload, and resolves to "STATUS DUPLICATE".
  async upload(message) {
    if (!this.#uploader) {
      this.#uploader = spawn(this.file("bin/uploader"), {stdio: ["pipe", "pipe", "inherit"]});
      this.#answers = createInterface(this.#uploader.stdout)[Symbol.asyncIterator]();
    }
    this.#uploader.stdin.write(`${JSON.stringify(message)}\n`);
    return (await this.#answers.next()).value;
  }

  async end() {
    await this.stop();
    rmSync(this.#root, {recursive: true});
  }
}

// An upload with everything. `changes` of it: host, ipv4, cpu, machine (a number 1 to 9).
export function fullUpload(id, changes = {}) {
  const {host = `build-${id}`, ipv4 = "192.0.2.2", cpu = 1246, machine = id % 10} = changes;
  return {
    cmd: 14,
    agent_id: id,
    rc_info: {cpu_usage: cpu, mem_total: 24684084, mem_usaged: 4605101},
    sys_info: {
      base_info: {
        host_node: host, host_plat: 4, host_type: 1, sys_release: "6.1.0-18-amd64",
        sys_version: "#1 SMP PREEMPT_DYNAMIC", sys_machine: "x86_64",
        sys_distro: "Debian GNU/Linux 12 (bookworm)", cpu_core: 4, uVmid: String(1000 + machine),
      },
      nw_info: {
        if_info: [
          {if_mac: `02-FC-00-00-00-0${machine}`, if_ipv4: [ipv4], if_ipv6: ["fd00::2", "fe80::fc:ff:fe00:1"]},
          {if_mac: `52-54-00-AB-CD-0${machine}`, if_ipv4: ["172.17.0.1"]},
        ],
      },
      agent_info: {
        agent_version: "3.2.10.100", virus_version: "20190220222616", patchdb_version: "20190227112530",
        ioadb_version: "0", iocdb_version: "0.0", mgr_addr: "127.0.0.1",
      },
    },
    login_info: {usr_info: [{login_name: "root", login_ip: "10.0.0.9", login_time: "2026-11-21 08:15:00"}]},
  };
}

export const usageUpload = (id, cpu) =>
  ({cmd: 2, agent_id: id, rc_info: {cpu_usage: cpu, mem_total: 24684084, mem_usaged: 5000000}});
