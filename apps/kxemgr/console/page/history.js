// The two charts of an agent, and what they say in words.
import {ask} from "./api.js";
import {Chart} from "./chart.js";
import {now} from "./clock.js";
import {byId, setText} from "./dom.js";
import {gib, gibOfKib, percent, time} from "./format.js";

// A point on a chart each few pixels is as fine as it gets.
const points = 400;

const average = (values) => values.reduce((sum, value) => sum + value, 0) / values.length;

export class History {
  #id = null;
  #answer = null;
  #latest = null;  // usage of the last upload, of which the answer has an average at best
  #asked = 0;
  #cpu = new Chart(byId("cpu-chart"), {
    label: (value) => `${value} %`,
    series: [{stroke: "--series-peak", width: 1}, {stroke: "--series", fill: "--series-fill", width: 1.5}],
    onCursor: (data, index) => this.#cpuWords(data, index),
  });
  #memory = new Chart(byId("memory-chart"), {
    label: (value) => `${value} GiB`,
    series: [{stroke: "--series", fill: "--series-fill", width: 1.5}],
    onCursor: (data, index) => this.#memoryWords(data, index),
  });

  constructor() {
    for (const input of document.querySelectorAll("input[name=span]")) {
      input.addEventListener("change", () => this.load(this.#id));
    }
  }

  get #span() {
    return Number(document.querySelector("input[name=span]:checked").value);
  }

  async load(id) {
    if (id !== this.#id) {
      this.#latest = null;
      this.#answer = null;
    }
    this.#id = id;
    const asked = ++this.#asked;
    const to = Math.round(now()) + 1000;
    const from = to - this.#span * 1000;
    const answer = await ask(`/api/agents/${id}/history?from=${from}&to=${to}&points=${points}`);
    // Another agent or time may have been chosen meanwhile.
    if (asked === this.#asked && answer) {
      this.#answer = answer;
      this.#draw();
    }
  }

  setLatest(usage) {
    this.#latest = usage;
    if (this.#answer) {
      this.#draw();
    }
  }

  // An upload that has just come.
  append(at, usage) {
    const answer = this.#answer;
    this.#latest = usage ?? this.#latest;
    if (!answer || !usage || at <= (answer.time.at(-1) ?? 0)) {
      return;
    }
    answer.time.push(at);
    answer.cpu_percent.push(usage.cpu_percent);
    answer.cpu_percent_highest.push(usage.cpu_percent);
    answer.memory_used_kib.push(usage.memory_used_kib);
    answer.memory_total_kib.push(usage.memory_total_kib);
    const columns = Object.values(answer).filter(Array.isArray);
    while (answer.time[0] < now() - this.#span * 1000) {
      columns.forEach((column) => column.shift());
    }
    this.#draw();
  }

  #draw() {
    const answer = this.#answer;
    const times = answer.time.map((ms) => ms / 1000);
    const used = answer.memory_used_kib.map(gibOfKib);
    const total = gibOfKib(Math.max(...answer.memory_total_kib.slice(-1), 1));
    this.#cpu.show([times, answer.cpu_percent_highest, answer.cpu_percent], answer.step_ms, this.#span, 100);
    this.#memory.show([times, used], answer.step_ms, this.#span, total);
    this.#cpuWords([], null);
    this.#memoryWords([], null);
  }

  #cpuWords(data, index) {
    const {cpu_percent: values, cpu_percent_highest: highest} = this.#answer;
    setText(byId("cpu-words"), typeof index === "number" && typeof data[2]?.[index] === "number"
      ? `${percent(data[2][index])} at ${time(data[0][index] * 1000)}`
      : values.length === 0 ? "no upload in this time"
        : `${percent(this.#latest?.cpu_percent ?? values.at(-1))} last, ${percent(average(values))} on average, ${percent(Math.max(...highest))} at most`);
  }

  #memoryWords(data, index) {
    const {memory_used_kib: used, memory_total_kib: total} = this.#answer;
    setText(byId("memory-words"), typeof index === "number" && typeof data[1]?.[index] === "number"
      ? `${gib(data[1][index])} at ${time(data[0][index] * 1000)}`
      : used.length === 0 ? "no upload in this time"
        : `${gib(gibOfKib(this.#latest?.memory_used_kib ?? used.at(-1)))} of ${gib(gibOfKib(total.at(-1)))} last, ${gib(gibOfKib(average(used)))} on average`);
  }
}
