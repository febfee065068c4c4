"use strict";
// The page follows the events of one run. All that comes reaches the page as text, never as markup.
(function () {
  const byId = (id) => document.getElementById(id);
  const SVG = "http://www.w3.org/2000/svg";
  const nListed = 40;
  const nAnnounceEvery = 5000; // ms

  function fill(made, attributes, children) {
    for (const [key, value] of Object.entries(attributes || {}))
      if (value !== null && value !== undefined && value !== false)
        made.setAttribute(key, value === true ? "" : value);
    made.append(...children.filter((child) => child !== null && child !== undefined));
    return made;
  }
  const element = (name, attributes, ...children) => fill(document.createElement(name), attributes, children);
  const svg = (name, attributes, ...children) => fill(document.createElementNS(SVG, name), attributes, children);
  const whole = new Intl.NumberFormat("en");
  const clock = new Intl.DateTimeFormat(undefined, { hour: "2-digit", minute: "2-digit", second: "2-digit" });
  const day = new Intl.DateTimeFormat(undefined, { month: "short", day: "numeric", hour: "2-digit", minute: "2-digit" });
  const hourOf = (time) => String(new Date(time).getHours()).padStart(2, "0") + ":00";

  let setup = null;
  let status = null;
  let maps = null;
  let lot = null;
  let cell = null; // what was found against the golden cell
  let pointed = null; // key of the place that is shown on the maps
  let last = [];
  let failed = [];
  let picture = null; // the event that is shown
  let shown = null;   // its decoded picture
  let held = false;
  let ended = false;
  let source = null;
  let announced = 0;

  // --- what changes is drawn once a frame ---
  const stale = new Set();
  function redraw(...parts) {
    if (stale.size === 0)
      requestAnimationFrame(() => {
        const todo = [...stale];
        stale.clear();
        todo.forEach((part) => part());
      });
    parts.forEach((part) => stale.add(part));
  }

  function pairs(list, rows) {
    list.replaceChildren(...rows.flatMap(([name, value, bad]) =>
      [element("dt", {}, name), element("dd", { class: bad ? "bad" : null }, value)]));
  }

  function drawStatus() {
    if (!status)
      return;
    const { frames, verdicts, queue, latency_ms: latency } = status;
    const judged = verdicts.pass + verdicts.fail + verdicts.undecided;
    const share = (count) => judged ? " (" + (100 * count / judged).toFixed(1) + " %)" : "";
    byId("tiles").replaceChildren(...[
      ["Inspected", whole.format(frames.inspected), ""],
      ["Pass", whole.format(verdicts.pass) + share(verdicts.pass), "pass"],
      ["Fail", whole.format(verdicts.fail) + share(verdicts.fail), verdicts.fail ? "fail" : ""],
      ["Undecided", whole.format(verdicts.undecided), ""],
      ["Dropped", whole.format(frames.dropped), frames.dropped ? "fail" : ""],
      ["Defects", whole.format(status.blobs), ""],
    ].map(([name, value, kind]) =>
      element("div", { class: "tile " + kind }, element("dt", {}, name), element("dd", {}, value))));
    const meter = byId("queue");
    meter.max = queue.room;
    meter.high = queue.room * 0.75;
    meter.optimum = 0;
    meter.value = queue.waiting;
    byId("queue-text").textContent = queue.waiting + " of " + queue.room + " frames";
    pairs(byId("source-counts"), [
      ["Acquired", whole.format(frames.acquired)],
      ["Dropped", whole.format(frames.dropped), frames.dropped > 0],
      ["Unreadable", whole.format(frames.unreadable), frames.unreadable > 0],
      ["Incomplete", whole.format(frames.incomplete), frames.incomplete > 0],
      ["Lost", whole.format(frames.lost), frames.lost > 0],
    ]);
    const ms = (value) => value.toFixed(value < 100 ? 1 : 0) + " ms";
    pairs(byId("latency"), [
      ["Median", ms(latency.median)], ["99 %", ms(latency.percentile_99)], ["Worst", ms(latency.worst)]]);
    const notes = status.problems.map((text) => "The source broke: " + text);
    if (status.condition === "queue overrun")
      notes.push("The queue was full: the inspection is slower than the source.");
    if (byId("notes").textContent !== notes.join(""))
      byId("notes").replaceChildren(...notes.map((text) => element("p", { class: "note" }, text)));
    if (source)
      sayCondition(ended ? "ended" : status.condition);
    drawHours();
  }

  function sayCondition(text) {
    const place = byId("condition");
    if (place.textContent !== text)
      place.textContent = text;
    place.className = "condition " + (text === "running" ? "running" : text === "ended" ? "" : "bad");
    document.title = (text === "running" ? "" : text + " - ") + "narvo watch" +
      (status && status.verdicts.fail ? " (" + status.verdicts.fail + " fail)" : "");
  }

  // --- charts by hour ---
  const kinds = [["fail", (h) => h.fail], ["undecided", (h) => h.undecided + h.unreadable], ["pass", (h) => h.pass],
    ["dropped", (h) => h.dropped]];

  function allHours() {
    const known = new Map(status.hours.map((hour) => [hour.start, hour]));
    if (known.size === 0)
      return [];
    const end = Math.max(...known.keys());
    const start = Math.max(Math.min(...known.keys()), end - 47 * 3600000);
    const all = [];
    for (let time = Math.min(start, end - 11 * 3600000); time <= end; time += 3600000)
      all.push(known.get(time) || { start: time, pass: 0, fail: 0, undecided: 0, unreadable: 0, dropped: 0, blobs: 0 });
    return all;
  }

  function roundUp(value) {
    const power = 10 ** Math.floor(Math.log10(Math.max(value, 1)));
    return [1, 2, 5, 10].map((step) => step * power).find((step) => step >= value);
  }

  function bars(place, hours, parts, name) {
    const [width, height, left, bottom] = [600, 210, 52, 24];
    const sum = (hour) => parts.reduce((total, part) => total + part[1](hour), 0);
    const top = roundUp(Math.max(1, ...hours.map(sum)));
    const step = (width - left) / Math.max(hours.length, 1);
    const y = (value) => 8 + (height - bottom - 8) * (1 - value / top);
    const drawn = [0, top / 2, top].filter(Number.isInteger).flatMap((value) => [
      svg("line", { class: "grid", x1: left, x2: width, y1: y(value), y2: y(value) }),
      svg("text", { x: left - 6, y: y(value) + 4, "text-anchor": "end" }, whole.format(value))]);
    const every = Math.ceil(hours.length / 8);
    hours.forEach((hour, i) => {
      let base = 0;
      const words = parts.map(([kind, count]) => kind + " " + whole.format(count(hour))).join(", ");
      const bar = svg("g", {}, svg("title", {}, day.format(hour.start) + ": " + words));
      for (const [kind, count] of parts) {
        const value = count(hour);
        if (value > 0)
          bar.append(svg("rect", { class: kind, x: left + i * step + 1, width: Math.max(1, step - 2), y: y(base + value),
            height: Math.max(0.5, y(base) - y(base + value)) }));
        base += value;
      }
      drawn.push(bar);
      if ((hours.length - 1 - i) % every === 0)
        drawn.push(svg("text", { x: left + (i + 0.5) * step, y: height - 6, "text-anchor": "middle" }, hourOf(hour.start)));
    });
    const latest = hours.length ? hours[hours.length - 1] : null;
    const label = name + " by hour" + (latest ? "; in the latest hour " +
      parts.map(([kind, count]) => kind + " " + count(latest)).join(", ") : ": none yet");
    place.replaceChildren(svg("svg", { viewBox: `0 0 ${width} ${height}`, role: "img", "aria-label": label }, ...drawn));
  }

  function drawHours() {
    const hours = allHours();
    bars(byId("images-chart"), hours, kinds, "Images");
    bars(byId("blobs-chart"), hours, [["blobs", (hour) => hour.blobs]], "Defects");
    byId("hours").replaceChildren(...status.hours.slice().reverse().map((hour) =>
      element("tr", {}, element("td", { class: "text" }, day.format(hour.start)),
        ...["pass", "fail", "undecided", "unreadable", "dropped", "blobs"].map((key) =>
          element("td", { class: "number" }, whole.format(hour[key]))))));
  }

  // --- maps ---
  // `marks` makes what lies on the map, from its width and height.
  function drawMap(place, words, map, aspect, across, down, none, marks) {
    const most = Math.max(0, ...map.counts);
    if (most === 0) {
      place.replaceChildren();
      words.textContent = none;
      return;
    }
    const [width, height] = aspect >= 1.5 ? [600, 600 / aspect] : [400 * aspect, 400];
    const [w, h] = [width / map.columns, height / map.rows];
    const cells = [];
    map.counts.forEach((count, i) => {
      if (count === 0)
        return;
      const [column, row] = [i % map.columns, Math.floor(i / map.columns)];
      cells.push(svg("rect", { class: "count", x: column * w, y: row * h, width: w, height: h,
        "fill-opacity": (0.15 + 0.85 * Math.sqrt(count / most)).toFixed(2) },
        svg("title", {}, whole.format(count) + " at " + across(column + 0.5) + ", " + down(row + 0.5))));
    });
    const where = map.counts.indexOf(most);
    words.textContent = whole.format(map.defects) + (map.defects === 1 ? " defect" : " defects") + ", at most " +
      whole.format(most) + " in one square, at " + across(where % map.columns + 0.5) + ", " +
      down(Math.floor(where / map.columns) + 0.5) + ".";
    place.replaceChildren(svg("svg", { width, height, viewBox: `0 0 ${width} ${height}`, role: "img",
      "aria-label": "Map: " + words.textContent }, ...cells, ...marks(width, height)));
  }

  function drawMaps() {
    if (!maps || !setup)
      return;
    const { image, cell } = maps;
    drawMap(byId("image-map"), byId("image-map-text"), image, image.height ? image.width / image.height : 1,
      (x) => "x " + Math.round(x / image.columns * image.width), (y) => "y " + Math.round(y / image.rows * image.height),
      "No defects so far.", (width, height) => imageMarks(width / image.width, height / image.height, width, height));
    const known = setup.cells.filter(([ax, ay, bx, by]) => Math.abs(ax * by - ay * bx) > 1e-9);
    const [ax, ay, bx, by] = known[0] || [1, 0, 0, 1];
    const aspect = Math.min(4, Math.max(0.25, Math.hypot(ax, ay) / Math.hypot(bx, by)));
    const oblique = known.some((one) => one[1] !== 0 || one[2] !== 0);
    const one = known.length === 1 && !oblique;
    drawMap(byId("cell-map"), byId("cell-map-text"), cell, aspect,
      (u) => one ? "x " + (u / cell.columns * ax).toFixed(1) : Math.round(100 * u / cell.columns) + " % across",
      (v) => one ? "y " + (v / cell.rows * by).toFixed(1) : Math.round(100 * v / cell.rows) + " % down",
      known.length === 0 ? "The recipe gives no pitch, so there is no cell." : "No defects so far.", cellMarks);
  }

  // --- the lot ---
  const kindsOfPlaces = { place: "comes back", column: "column", row: "row", area: "area that stands out", cell: "in the cell" };
  const figure = (value) => (value !== 0 && Math.abs(value) < 1e-3 ? value.toExponential(1) : Number(value.toPrecision(3)).toString());

  // All places of all tests with their numbers, as list and maps show them.
  function lotPlaces() {
    const all = lot ? lot.tests.flatMap((test) => test.places.map((place) => ({ kind: test.kind, ...place }))) : [];
    return all.map((place, i) => ({ ...place, number: i + 1, key: place.kind + " " + place.where }));
  }

  function mark(place, x, y, shape) {
    const words = place.number + ": " + kindsOfPlaces[place.kind] + ", " + place.where + ", " + place.images + " images";
    return svg("g", { class: "lot-mark" + (place.key === pointed ? " pointed" : "") }, svg("title", {}, words), shape,
      svg("text", { x, y, "text-anchor": "middle" }, place.number));
  }

  function imageMarks(scaleX, scaleY, width, height) {
    return lotPlaces().filter((place) => place.kind !== "cell").map((place) => {
      const [left, top, right, bottom] = place.box;
      const [x, y] = [(left + right) / 2 * scaleX, (top + bottom) / 2 * scaleY];
      const inside = (value, most) => Math.min(Math.max(value, 14), most - 6);
      if (place.kind === "place")
        return mark(place, inside(x, width), inside(y - 11, height), svg("circle", { cx: x, cy: y, r: 8 }));
      const box = { x: left * scaleX, y: top * scaleY, width: Math.max(3, (right - left) * scaleX),
        height: Math.max(3, (bottom - top) * scaleY) };
      return mark(place, inside(place.kind === "row" ? 12 : x, width), inside(place.kind === "row" ? y - 5 : box.y + 12, height),
        svg("rect", box));
    });
  }

  function cellMarks(width, height) {
    return lotPlaces().filter((place) => place.in_cell).map((place) => {
      const [x, y] = [place.in_cell[0] * width, place.in_cell[1] * height];
      return mark(place, Math.min(Math.max(x, 14), width - 14), y < 24 ? y + 22 : y - 11, svg("circle", { cx: x, cy: y, r: 8 }));
    });
  }

  function point(key) {
    pointed = pointed === key ? null : key;
    redraw(drawLot, drawMaps);
  }

  function drawPlaces() {
    const places = lotPlaces();
    const found = lot.tests.reduce((sum, test) => sum + test.found, 0);
    byId("lot-images").textContent = "(the latest " + whole.format(lot.images) + (lot.images === 1 ? " image" : " images") +
      (lot.images > 1 ? ", " + lot.first + " to " + lot.last : "") + ")";
    byId("lot-text").textContent = found === 0
      ? "Nothing that comes back in " + whole.format(lot.comparable) + " images of one size, at a risk of " + lot.risk + "."
      : whole.format(found) + (found === 1 ? " find" : " finds") + " in " + whole.format(lot.comparable) +
        " images of one size, at a risk of " + lot.risk + " for each test and look" +
        (found > places.length ? "; the " + places.length + " least probable of them are listed." : ".");
    byId("lot-places").hidden = places.length === 0;
    // The button that has the focus keeps it.
    const focused = byId("lot-rows").contains(document.activeElement) ? document.activeElement.dataset.key : null;
    byId("lot-rows").replaceChildren(...places.map((place) => {
      const button = element("button", { type: "button", class: "quiet", "data-key": place.key,
        "aria-pressed": String(place.key === pointed), "aria-label": "Show " + place.number + " on the maps" }, place.number);
      button.addEventListener("click", () => point(place.key));
      return element("tr", { class: place.key === pointed ? "pointed" : null },
        element("td", { class: "text" }, button),
        element("td", { class: "text" }, kindsOfPlaces[place.kind]),
        element("td", { class: "text" }, place.where),
        element("td", { class: "number" }, whole.format(place.images) + (place.cells ? ", " + whole.format(place.cells) + " cells" : "")),
        element("td", { class: "number" }, figure(place.expected)),
        element("td", { class: "number" }, figure(place.probability)),
        element("td", { class: "text" }, place.first + (place.last !== place.first ? ", " + place.last : "")));
    }));
    if (focused !== null)
      byId("lot-rows").querySelector(`[data-key="${CSS.escape(focused)}"]`)?.focus();
    const notes = lot.tests.flatMap((test) => test.notes.map((note) => kindsOfPlaces[test.kind] + ": " + note));
    if (lot.left_out > 0)
      notes.push(whole.format(lot.left_out) + " images have too many defects for the lot and are left out.");
    byId("lot-notes").replaceChildren(...notes.map((note) => element("li", {}, note)));
  }

  const chartNames = { defects: "Defects", pairs: "Answers of the comparison", refused: "Refused images",
    light: "Light", noise: "Noise", pitch_x: "Pitch across", pitch_y: "Pitch down", size: "Size of defects",
    contrast: "Contrast of defects", grey: "Grey around defects" };

  function controlChart(chart) {
    const [width, height, left, highest] = [600, 150, 34, 6];
    const x = (i) => left + 4 + (width - left - 8) * (chart.points.length > 1 ? i / (chart.points.length - 1) : 0.5);
    const y = (score) => height / 2 - (height / 2 - 6) * Math.min(highest, Math.max(-highest, score)) / highest;
    const words = chartNames[chart.name] + ": mean " + figure(chart.center) + " " + chart.unit + "; " +
      (chart.alarm_count === 1 ? "1 alarm" : chart.alarm_count + " alarms") + " in " + chart.count + " points, by chance " +
      figure(chart.alarms_by_chance) +
      (chart.images_a_point > 1 ? "; " + chart.images_a_point + " images a point" : "") +
      (chart.change ? "; changes at " + chart.change.image + " from " + figure(chart.change.before) + " to " +
        figure(chart.change.after) : "");
    const drawn = [-3, 0, 3].flatMap((level) => [
      svg("line", { class: level ? "limit" : "grid", x1: left, x2: width, y1: y(level), y2: y(level) }),
      svg("text", { x: left - 6, y: y(level) + 4, "text-anchor": "end" }, level > 0 ? "+" + level : String(level))]);
    if (chart.change && chart.change.point >= chart.from)
      drawn.push(svg("line", { class: "change", x1: x(chart.change.point - chart.from - 0.5),
        x2: x(chart.change.point - chart.from - 0.5), y1: 2, y2: height - 2 }));
    if (chart.scores.length > 1)
      drawn.push(svg("polyline", { class: "series", points: chart.scores.map((score, i) => x(i).toFixed(1) + "," + y(score).toFixed(1)).join(" ") }));
    for (const alarm of chart.alarms.filter((one) => one.point >= chart.from))
      drawn.push(svg("circle", { class: "alarm", cx: x(alarm.point - chart.from), cy: y(chart.scores[alarm.point - chart.from]), r: 4 },
        svg("title", {}, alarm.image + ": " + alarm.rule + ", " + alarm.side)));
    return element("figure", { class: "panel chart" },
      element("figcaption", {}, element("h3", {}, chartNames[chart.name], " ", element("small", {}, chart.unit))),
      chart.scores.length ? svg("svg", { viewBox: `0 0 ${width} ${height}`, role: "img", "aria-label": words }, ...drawn) : null,
      element("p", { class: chart.alarm_count > chart.alarms_by_chance + 3 * Math.sqrt(chart.alarms_by_chance + 1) ? "bad" : null },
        chart.scores.length ? words.slice(chartNames[chart.name].length + 2) : "Does not vary: " + figure(chart.center) + "."));
  }

  function drawLot() {
    if (!lot)
      return;
    drawPlaces();
    byId("lot-charts").replaceChildren(...lot.charts.map(controlChart));
    const alarms = lot.charts.flatMap((chart) => chart.alarms.map((alarm) => [chart, alarm]));
    byId("lot-legend").hidden = lot.charts.length === 0;
    byId("lot-alarms").hidden = alarms.length === 0;
    byId("lot-alarm-rows").replaceChildren(...alarms.reverse().map(([chart, alarm]) => element("tr", {},
      element("td", { class: "text" }, chartNames[chart.name]), element("td", { class: "number" }, whole.format(alarm.point + 1)),
      element("td", { class: "text" }, alarm.image), element("td", { class: "text" }, alarm.rule),
      element("td", { class: "text" }, alarm.side))));
  }

  function takeLot(event) {
    const before = lot ? lotPlaces().length : 0;
    lot = event;
    const now = lotPlaces();
    if (now.length > before && now.length > 0)
      byId("told").textContent = "Lot: " + now.length + (now.length === 1 ? " find" : " finds") + " that chance does not explain";
    redraw(drawLot, drawMaps);
  }

  // --- the golden cell ---
  function drawCell() {
    byId("cell").hidden = !cell;
    if (!cell)
      return;
    const now = cell.regions.reduce((sum, region) => sum + region.places, 0);
    byId("cell-text").textContent = cell.problems.length
      ? cell.image + " could not be held against it: " + cell.problems.join("; ")
      : cell.image + (now === 0 ? " is like the golden cell" : " differs at " + now + (now === 1 ? " place" : " places")) +
        ". Since the start " + whole.format(cell.images) + (cell.images === 1 ? " image was" : " images were") +
        " held against it, of which " + whole.format(cell.different) + (cell.different === 1 ? " differs." : " differ.");
    byId("cell-figure").hidden = !cell.picture;
    if (cell.picture) {
      byId("cell-picture").src = cell.picture;
      byId("cell-picture").alt = "Golden cell, cell of " + cell.image + " and difference";
    }
    byId("cell-places").hidden = cell.places.length === 0;
    byId("cell-rows").replaceChildren(...cell.places.map((place) => element("tr", { class: place.now ? "pointed" : null },
      element("td", { class: "text" }, (cell.regions.length > 1 ? place.region + ": " : "") + place.where),
      element("td", { class: "number" }, (place.difference > 0 ? "+" : "") + place.difference.toFixed(1)),
      element("td", { class: "number" }, place.standard_errors.toFixed(1)),
      element("td", { class: "number" }, whole.format(place.images)),
      element("td", { class: "text" }, place.first + (place.last !== place.first ? ", " + place.last : "")))));
    const notes = cell.regions.map((region) => (cell.regions.length > 1 ? region.name + ": " : "") +
      (region.parts === 1 ? "1 part" : whole.format(region.parts) + " parts") +
      (region.parts_left_out ? ", " + whole.format(region.parts_left_out) + " left out" : "") + "; displaced by " +
      region.displacement_x.toFixed(2) + ", " + region.displacement_y.toFixed(2) + " pixels; light " + region.gain +
      " times and " + (region.offset < 0 ? "" : "+") + region.offset);
    if (cell.found > cell.places.length)
      notes.push("Of " + whole.format(cell.found) + " places the " + cell.places.length + " that most images show are listed.");
    byId("cell-notes").replaceChildren(...notes.map((note) => element("li", {}, note)));
  }

  function takeCell(event) {
    const before = cell ? cell.places.length : 0;
    cell = event;
    if (cell.places.length > before)
      byId("told").textContent = "Golden cell: " + cell.places.length + (cell.places.length === 1 ? " place differs" : " places differ");
    redraw(drawCell);
  }

  // --- verdicts ---
  const keep = (list, verdict) => {
    if (list.some((one) => one.number === verdict.number))
      return list;
    return [...list, verdict].sort((a, b) => a.number - b.number).slice(-nListed);
  };

  function drawVerdicts() {
    const which = document.querySelector("input[name=which]:checked").value;
    const list = which === "failed" ? failed : last;
    byId("no-rows").hidden = list.length > 0;
    byId("rows").replaceChildren(...list.slice().reverse().map((one) =>
      element("tr", { "data-number": one.number },
        element("td", { class: "text" }, clock.format(one.acquired)),
        element("td", { class: "number" }, whole.format(one.frame)),
        element("td", { class: "text" }, one.name),
        element("td", { class: "text" }, element("span", { class: "verdict " + one.verdict }, one.verdict)),
        element("td", { class: "number" }, whole.format(one.blobs)),
        element("td", { class: "text" }, [...one.failed, ...one.problems].join("; ")))));
  }

  function takeVerdict(verdict) {
    last = keep(last, verdict);
    if (verdict.verdict !== "pass") {
      failed = keep(failed, verdict);
      if (Date.now() - announced > nAnnounceEvery) {
        announced = Date.now();
        byId("told").textContent = verdict.name + ": " + verdict.verdict + ", " + verdict.blobs + " defects";
      }
    }
    redraw(drawVerdicts);
  }

  // --- picture ---
  function drawPicture() {
    const canvas = byId("canvas");
    const box = byId("stage").getBoundingClientRect();
    const ratio = window.devicePixelRatio || 1;
    canvas.width = Math.round(box.width * ratio);
    canvas.height = Math.round(box.height * ratio);
    byId("no-picture").hidden = shown !== null;
    if (!shown)
      return;
    const paint = canvas.getContext("2d");
    const scale = Math.min(canvas.width / picture.width, canvas.height / picture.height);
    const left = (canvas.width - picture.width * scale) / 2;
    const top = (canvas.height - picture.height * scale) / 2;
    paint.drawImage(shown, left, top, picture.width * scale, picture.height * scale);
    byId("picture-verdict").textContent = picture.verdict;
    byId("picture-verdict").className = "verdict " + picture.verdict;
    byId("picture-name").textContent = picture.name;
    canvas.setAttribute("aria-label", picture.name + ", " + picture.verdict + ", " + picture.blobs + " defects");
    if (!byId("frames").checked)
      return;
    paint.lineWidth = 2 * ratio;
    for (const [, , x0, y0, x1, y1, bright] of picture.defects) {
      // Blue and orange on the picture, which is dark in both forms of the page.
      paint.strokeStyle = bright ? "#ff9a4d" : "#4cc3ff";
      paint.setLineDash(bright ? [5 * ratio, 3 * ratio] : []);
      const room = 5 * ratio; // small defects stay to be seen
      paint.strokeRect(left + x0 * scale - room, top + y0 * scale - room,
        (x1 - x0) * scale + 2 * room, (y1 - y0) * scale + 2 * room);
    }
  }

  function takePicture(event) {
    if (held || (byId("only-failed").checked && event.verdict === "pass"))
      return;
    const made = new Image();
    made.onload = () => {
      if (held || (picture && picture.number > event.number))
        return;
      picture = event;
      shown = made;
      redraw(drawPicture);
    };
    made.src = event.picture;
  }

  // --- the events ---
  function takeState(state) {
    const another = setup && setup.started !== state.started;
    setup = state;
    ({ status, maps } = state);
    if (another) {
      last = [];
      failed = [];
      picture = null;
      shown = null;
      lot = null;
      cell = null;
      pointed = null;
    }
    ended = false;
    state.last.forEach((verdict) => { last = keep(last, verdict); });
    state.failed.forEach((verdict) => { failed = keep(failed, verdict); });
    byId("made").textContent = state.source + ", recipe " + state.recipe + ", " + state.lanes +
      (state.lanes === 1 ? " lane" : " lanes") + ", since " + day.format(state.started) + ", narvo " + state.program;
    redraw(drawStatus, drawMaps, drawVerdicts, drawPicture, drawCell);
    requestAnimationFrame(() => { document.documentElement.dataset.ready = "yes"; });
  }

  function open() {
    if (source || ended || document.hidden)
      return;
    const token = new URLSearchParams(location.search).get("token");
    source = new EventSource("events" + (token ? "?token=" + encodeURIComponent(token) : ""));
    const on = (name, take) => source.addEventListener(name, (event) => take(JSON.parse(event.data)));
    on("state", takeState);
    on("status", (event) => { status = event; redraw(drawStatus); });
    on("maps", (event) => { maps = event; redraw(drawMaps); });
    on("lot", takeLot);
    on("cell", takeCell);
    on("verdict", takeVerdict);
    on("picture", takePicture);
    on("ended", () => {
      ended = true;
      close();
      sayCondition(status && status.condition !== "running" ? status.condition : "ended");
    });
    source.onerror = () => {
      sayCondition("connection lost");
      if (source && source.readyState === EventSource.CLOSED) {
        source = null;
        setTimeout(open, 5000);
      }
    };
  }
  function close() {
    if (source)
      source.close();
    source = null;
  }

  // --- controls ---
  function hold() {
    held = !held;
    byId("pause").setAttribute("aria-pressed", String(held));
    byId("pause").textContent = held ? "Held" : "Hold";
  }
  byId("pause").addEventListener("click", hold);
  document.addEventListener("keydown", (event) => {
    const typing = event.target instanceof HTMLInputElement && event.target.type === "text";
    if (event.key === "p" && !event.ctrlKey && !event.metaKey && !event.altKey && !typing)
      hold();
  });
  byId("frames").addEventListener("change", () => redraw(drawPicture));
  document.querySelectorAll("input[name=which]").forEach((one) => one.addEventListener("change", drawVerdicts));
  const themes = [["", "as the system"], ["light", "light"], ["dark", "dark"]];
  let theme = 0;
  byId("theme").addEventListener("click", () => {
    theme = (theme + 1) % themes.length;
    if (themes[theme][0])
      document.documentElement.dataset.theme = themes[theme][0];
    else
      delete document.documentElement.dataset.theme;
    byId("theme").textContent = "Colours: " + themes[theme][1];
  });
  new ResizeObserver(() => redraw(drawPicture)).observe(byId("stage"));
  // Nothing is sent to a page that nobody sees.
  document.addEventListener("visibilitychange", () => (document.hidden ? close() : open()));
  open();
})();
