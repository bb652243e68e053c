// The console in a real browser.
import assert from "node:assert/strict";
import {mkdirSync, mkdtempSync, readFileSync, rmSync, writeFileSync} from "node:fs";
import {createRequire} from "node:module";
import {tmpdir} from "node:os";
import {join} from "node:path";
import {after, afterEach, before, beforeEach, describe, test} from "node:test";
import {chromium} from "playwright-core";

import {fullUpload, Manager, usageUpload} from "./manager.mjs";

const screenshots = process.env.KX_SCREENSHOTS;
const axe = readFileSync(createRequire(import.meta.url).resolve("axe-core/axe.min.js"), "utf8");
const wide = {width: 1440, height: 900};
const phone = {width: 390, height: 844};
const markup = "<script>window.broken = 1</script><img src=x onerror='window.broken = 2'>\"&amp;";

let profile;
let browser;
let manager;
let page;
let complaints;

describe("the console", () => {
  before(async () => {
    mkdirSync(screenshots, {recursive: true});
    profile = mkdtempSync(join(tmpdir(), "kx-browser-profile-"));
    browser = await chromium.launchPersistentContext(profile, {
      executablePath: process.env.KX_CHROMIUM ?? "/usr/bin/chromium",
      args: ["--headless", "--no-sandbox", "--disable-gpu", "--disable-quic", "--no-first-run",
        "--disable-background-networking", "--disable-component-update", "--disable-sync"],
    });
  });

  after(async () => {
    await browser.close();
    rmSync(profile, {recursive: true, force: true});
  });

  beforeEach(async () => {
    manager = new Manager();
    page = await browser.newPage();
    page.setDefaultTimeout(20000);
    complaints = [];
    page.on("pageerror", (error) => complaints.push(error.message));
    page.on("console", (message) => message.type() === "error" && complaints.push(message.text()));
    await page.setViewportSize(wide);
  });

  afterEach(async () => {
    await page.close();
    await manager.end();
  });

  const text = (selector) => page.locator(selector).innerText();

  // Waits until the element says so.
  async function says(selector, words) {
    await page.locator(selector).filter({hasText: words}).first().waitFor();
  }

  const settle = () => page.evaluate(() => new Promise((done) => requestAnimationFrame(() => requestAnimationFrame(done))));

  async function shoot(name) {
    await settle();
    await page.screenshot({path: join(screenshots, `${name}.png`), fullPage: true});
  }

  // No finding of the accessibility rules, contrast among them.
  async function checkAccessibility() {
    await page.evaluate(axe);
    const {violations} = await page.evaluate(() => axe.run(document, {
      runOnly: ["wcag2a", "wcag2aa", "wcag21a", "wcag21aa", "best-practice"],
    }));
    assert.deepEqual(violations.map(({id, nodes}) => [id, nodes.map(({html}) => html)]), []);
  }

  test("shows all agents, and one with everything about it", async () => {
    await manager.start();
    assert.equal(await manager.upload(fullUpload(1)), "1 0");
    assert.equal(await manager.upload(fullUpload(2, {host: "db-primary.example.net"})), "1 0");
    await page.goto(manager.url);
    await says("#connection", "live");
    await says("#totals", "2 agents, all online");
    await page.click("#agents >> text=build-1");
    await says("#agent-title", "build-1");
    await says("#system", "6.1.0-18-amd64 #1 SMP PREEMPT_DYNAMIC");
    await says("#system", "4, x86_64, 64-bit");
    await says("#versions", "3.2.10.100");
    await says("#versions", "root from 10.0.0.9, 2026-11-21 08:15:00");
    await says("#adapters", "02-FC-00-00-00-01");
    await says("#adapters", "fe80::fc:ff:fe00:1");
    await says("#cpu-words", "12 % last");
    await says("#memory-words", "4.39 GiB of 23.5 GiB last");
    await page.locator("#cpu-chart canvas").waitFor();
    await page.locator("#memory-chart canvas").waitFor();
    assert.equal(await page.title(), "build-1 - kxemgr console");
    assert.deepEqual(complaints, []);
  });

  test("stays live without reloading, also over a restart of the manager", async () => {
    await manager.start("--db", manager.file("var/uploads.db"));
    await manager.upload(fullUpload(1));
    await page.goto(`${manager.url}#agent/1`);
    await says("#cpu-words", "12 % last");
    await page.evaluate(() => { window.sameDocument = true; });
    await manager.upload(usageUpload(1, 7700));
    await says("#cpu-words", "77 % last");
    await says("#agents tr[data-id='1']", "77 %");
    await manager.upload(fullUpload(1, {ipv4: "192.0.2.77", cpu: 500}));
    await says("#adapters", "192.0.2.77");
    await says("#changes", "192.0.2.2");
    await manager.upload(fullUpload(3));
    await says("#agents", "build-3");

    await manager.stop();
    await says("#connection", "connection lost");
    await manager.start("--db", manager.file("var/uploads.db"));
    await says("#connection", "live");
    await manager.upload(usageUpload(1, 3300));
    await says("#cpu-words", "33 % last");
    assert.equal(await page.evaluate(() => window.sameDocument), true);
  });

  test("shows what agents say as text, never as markup", async () => {
    await manager.start();
    const upload = fullUpload(1, {host: markup});
    Object.assign(upload.sys_info.base_info, {sys_distro: markup, sys_release: markup, containerId: markup});
    Object.assign(upload.sys_info.agent_info, {agent_version: markup, mgr_addr: markup});
    upload.sys_info.nw_info.if_info[0] = {if_mac: markup, if_ipv4: [markup], if_ipv6: [markup]};
    Object.assign(upload.login_info.usr_info[0], {login_name: markup, login_ip: markup, login_time: markup});
    await manager.upload(upload);
    const changed = structuredClone(upload);
    changed.sys_info.base_info.host_node = `${markup}2`;
    changed.sys_info.nw_info.if_info[0].if_ipv4 = [`${markup}2`];
    changed.login_info.usr_info[0].login_name = `${markup}2`;
    await manager.upload(changed);
    await page.goto(manager.url);
    assert.equal(await text("#agents tbody a"), `${markup}2`);
    await page.click("#agents tbody a");
    await says("#agent-title", `${markup}2`);
    await says("#system", markup);
    await says("#versions", markup);
    await says("#adapters", markup);
    await says("#changes", markup);
    await page.fill("#filter", markup.slice(0, 20));
    assert.equal(await page.locator("#agents tbody tr").count(), 1);
    assert.equal(await page.evaluate(() => window.broken), undefined);
    assert.equal(await page.locator("main script, main img").count(), 0);
    await shoot("markup");
    assert.deepEqual(complaints, []);
  });

  test("warns of a clone", async () => {
    await manager.start();
    await manager.upload(fullUpload(1));
    await page.goto(`${manager.url}#agent/1`);
    await says("#agent-title", "build-1");
    assert.equal(await page.locator("#clones").isVisible(), false);
    assert.equal(await manager.upload(fullUpload(1, {host: "build-1-copy", machine: 2})), "1 1");
    await says("#clones", "build-1-copy, MAC 02-FC-00-00-00-02, 52-54-00-AB-CD-02, 1 upload");
    await says("#agents", "clone");
    await says("#announcements", "Another machine uses the id of build-1.");
  });

  test("tells who is offline, also to those who do not see the page", async () => {
    await manager.start("--offline-after", "2");
    await manager.upload(fullUpload(1));
    await page.goto(`${manager.url}#agent/1`);
    await says("#agent-state", "online");
    await says("#announcements", "build-1 is offline.");
    await says("#agent-state", "offline, last upload");
    await says("#totals", "1 agent, 1 offline");
    await manager.upload(usageUpload(1, 100));
    await says("#announcements", "build-1 is online.");
  });

  test("is used by keyboard alone", async () => {
    await manager.start();
    await manager.upload(fullUpload(1));
    await manager.upload(fullUpload(2));
    await page.goto(manager.url);
    await says("#agents", "build-2");
    const focused = () => page.evaluate(() => {
      const node = document.activeElement;
      const style = getComputedStyle(node);
      const shown = node.matches(".spans input") ? getComputedStyle(node.nextElementSibling) : style;
      return {name: node.id || node.textContent.trim() || node.value, seen: shown.outlineStyle !== "none" && parseFloat(shown.outlineWidth) > 0};
    });
    const order = [];
    for (let i = 0; i < 9; ++i) {
      await page.keyboard.press("Tab");
      const {name, seen} = await focused();
      order.push(name);
      assert.ok(seen, `the focus is not seen on ${name}`);
    }
    assert.deepEqual(order.slice(0, 6), ["Skip to the content", "filter", order[2], "Host", "Last upload", "CPU"]);
    assert.deepEqual(order.slice(6), ["Memory", "build-1", "build-2"]);
    // Sorts, and says so.
    await page.locator("th[data-key=seen] button").focus();
    await page.keyboard.press("Enter");
    assert.equal(await page.getAttribute("th[data-key=seen]", "aria-sort"), "descending");
    // Opens an agent, and its title is where the reader is.
    await page.locator("#agents a >> text=build-2").focus();
    await page.keyboard.press("Enter");
    await page.waitForFunction(() => document.activeElement.id === "agent-title");
    assert.equal(await text("#agent-title"), "build-2");
    // The time shown is chosen with the arrows; behind it come the tables, and then the page ends.
    await page.keyboard.press("Tab");
    assert.equal((await focused()).name, "3600");
    await page.keyboard.press("ArrowRight");
    assert.equal(await page.isChecked("input[value='21600']"), true);
    for (let i = 0; i < 6; ++i) {
      await page.keyboard.press("Tab");
    }
    assert.equal(await page.evaluate(() => document.activeElement.closest("#agent") === null), true, "a trap");
  });

  test("asks for the token, and keeps it out of sight", async () => {
    const token = "correct-horse-battery";
    writeFileSync(manager.file("config/token"), `${token}\n`, {mode: 0o600});
    await manager.start("--http-token-file", manager.file("config/token"));
    await manager.upload(fullUpload(1));
    await page.goto(manager.url);
    await page.locator("#login").waitFor();
    assert.equal(await page.locator("#agents tbody tr").count(), 0);
    await page.fill("#token", "wrong-horse-battery");
    await page.keyboard.press("Enter");
    await says("#login-fault", "That is not the token.");
    await shoot("token");
    await page.fill("#token", token);
    await page.keyboard.press("Enter");
    await says("#agents", "build-1");
    await says("#connection", "live");
    assert.equal(page.url().includes(token), false);
    assert.equal(await page.evaluate(() => document.cookie), "");
    assert.equal((await browser.cookies()).some(({value}) => value.includes(token)), false);
    await page.reload();
    await says("#agents", "build-1");
    await browser.clearCookies();
  });

  test("loads nothing from elsewhere", async () => {
    await manager.start();
    await manager.upload(fullUpload(1));
    const hosts = new Set();
    page.on("request", (request) => hosts.add(new URL(request.url()).origin));
    await page.goto(`${manager.url}#agent/1`);
    await says("#agent-title", "build-1");
    assert.deepEqual([...hosts], [new URL(manager.url).origin]);
  });

  for (const [scheme, size, name] of [["light", wide, "wide-light"], ["dark", wide, "wide-dark"],
    ["light", phone, "phone-light"], ["dark", phone, "phone-dark"]]) {
    test(`is read by everybody: ${name}`, async () => {
      await manager.start("--offline-after", "3600");
      await manager.upload(fullUpload(1));
      await manager.upload(fullUpload(2, {host: "a-host-with-a-rather-long-name.department.example.net"}));
      await manager.upload(fullUpload(1, {ipv4: "192.0.2.77"}));
      await manager.upload(fullUpload(1, {host: "build-1-copy", machine: 5}));
      for (const cpu of [1000, 2500, 1800, 6400, 3000, 2200]) {
        await manager.upload(usageUpload(1, cpu));
      }
      await page.emulateMedia({colorScheme: scheme});
      await page.setViewportSize(size);
      await page.goto(manager.url);
      await says("#connection", "live");
      await says("#agents", "build-1");
      const ground = await page.evaluate(() => getComputedStyle(document.body).backgroundColor);
      assert.equal(ground, scheme === "light" ? "rgb(244, 246, 247)" : "rgb(16, 21, 24)");
      await checkAccessibility();
      await shoot(`${name}-list`);
      await page.click("#agents a >> text=build-1");
      await says("#changes", "192.0.2.77");
      await says("#clones", "build-1-copy");
      await says("#cpu-words", "22 % last");
      await page.check("input[value='900']");
      await page.locator("#cpu-chart canvas").waitFor();
      // Nothing is wider than the screen.
      assert.equal(await page.evaluate(() => document.documentElement.scrollWidth), size.width);
      await checkAccessibility();
      await shoot(name);
      assert.deepEqual(complaints, []);
    });
  }
});
