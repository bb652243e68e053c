// A line over time.
import {now} from "./clock.js";

const colour = (name) => getComputedStyle(document.documentElement).getPropertyValue(name).trim();

// Times without uploads are gaps, not lines across: behind a point whose next one is later than
// usual comes one without values.
function withGaps(columns, stepMs) {
  const times = columns[0];
  const distances = times.slice(1).map((time, i) => time - times[i]).sort((a, b) => a - b);
  const usual = distances[Math.floor(distances.length / 2)] ?? 0;
  const longest = Math.max(3 * usual, 2.5 * stepMs / 1000, 10);
  const parted = columns.map(() => []);
  times.forEach((time, i) => {
    if (i > 0 && time - times[i - 1] > longest) {
      parted.forEach((column, c) => column.push(c === 0 ? times[i - 1] + 1 : null));
    }
    parted.forEach((column, c) => column.push(columns[c][i]));
  });
  return parted;
}

export class Chart {
  #target;
  #options;
  #plot = null;
  #columns = null;  // nothing to show yet
  #step = 0;
  #span = 3600;
  #top = 100;

  // options: label(value) for the axis, series: names of colours, onCursor(index or null)
  constructor(target, options) {
    this.#target = target;
    this.#options = options;
    new ResizeObserver(() => this.#resize()).observe(target);
    matchMedia("(prefers-color-scheme: dark)").addEventListener("change", () => this.#rebuild());
  }

  // columns: times in seconds, then one column a series; top: the highest value of the axis.
  show(columns, stepMs, spanSeconds, top) {
    this.#columns = columns;
    this.#step = stepMs;
    this.#span = spanSeconds;
    this.#top = top;
    if (this.#plot) {
      this.#plot.setData(withGaps(columns, stepMs));
    } else {
      this.#rebuild();
    }
  }

  #rebuild() {
    this.#plot?.destroy();
    const width = this.#target.clientWidth;
    this.#plot = width > 0 && this.#columns
      ? new uPlot(this.#plotOptions(width), withGaps(this.#columns, this.#step), this.#target) : null;
  }

  #resize() {
    const width = this.#target.clientWidth;
    if (width > 0 && !this.#plot) {
      this.#rebuild();
    } else if (width > 0) {
      this.#plot.setSize({width, height: this.#target.clientHeight});
    }
  }

  #plotOptions(width) {
    const axis = {stroke: colour("--muted"), grid: {stroke: colour("--grid"), width: 1}, ticks: {show: false},
      font: "11px system-ui, sans-serif"};
    return {
      width,
      height: this.#target.clientHeight,
      legend: {show: false},
      cursor: {y: false, drag: {x: false, y: false}, sync: {key: "agent"}},
      scales: {
        x: {time: true, range: () => [now() / 1000 - this.#span, now() / 1000]},
        y: {range: () => [0, this.#top]},
      },
      axes: [
        {...axis, size: 30, gap: 9, values: (plot, splits, a, b, step) => splits.map((at) => this.#timeLabel(at, step))},
        {...axis, size: 48, gap: 4, values: (plot, splits) => splits.map(this.#options.label)},
      ],
      series: [{}, ...this.#options.series.map((series) => ({
        stroke: colour(series.stroke),
        fill: series.fill ? colour(series.fill) : undefined,
        width: series.width,
        points: {show: (plot) => plot.data[0].length < 3},
      }))],
      hooks: {setCursor: [(plot) => this.#options.onCursor(plot.data, plot.cursor.idx)]},
    };
  }

  #timeLabel(at, step) {
    const date = new Date(at * 1000);
    const day = `${date.getMonth() + 1}-${String(date.getDate()).padStart(2, "0")}`;
    const clock = `${String(date.getHours()).padStart(2, "0")}:${String(date.getMinutes()).padStart(2, "0")}`;
    return step >= 86400 ? day : this.#span > 86400 ? `${day} ${clock}` : clock;
  }
}
