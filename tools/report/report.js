"use strict";
// The page's behaviour: all that it shows comes from the one data element, and reaches the page as text, never as
// markup.
(function () {
  const data = JSON.parse(document.getElementById("data").textContent);
  const byId = (id) => document.getElementById(id);
  const SVG = "http://www.w3.org/2000/svg";

  function element(name, attributes, ...children) {
    const made = document.createElement(name);
    return fill(made, attributes, children);
  }
  function svg(name, attributes, ...children) {
    return fill(document.createElementNS(SVG, name), attributes, children);
  }
  function fill(made, attributes, children) {
    for (const [key, value] of Object.entries(attributes || {}))
      if (value !== null && value !== undefined && value !== false)
        made.setAttribute(key, value === true ? "" : value);
    for (const child of children)
      if (child !== null && child !== undefined)
        made.append(child);
    return made;
  }
  const number = new Intl.NumberFormat("en");
  const say = (value, digits) =>
    number.format(digits === undefined ? value : Number(value.toFixed(digits)));

  // Defects: the packed rows become objects once.
  const names = data.columns;
  const defects = data.blobs.map((row, index) => {
    const one = { index };
    names.forEach((name, i) => { one[name] = row[i]; });
    one.imageName = data.images[one.image].name;
    one.text = [one.number, one.bright ? "bright" : "dark", one.imageName, one.x, one.y, one.area, one.peak,
      one.difference, "zone " + one.zone, bandName(one.band), one.single ? "single" : "paired"].join(" ").toLowerCase();
    return one;
  });

  function bandName(band) {
    return ["none", "first", "middle", "last"][band] || String(band);
  }

  const columns = [
    { key: "number", title: "No.", ascending: true },
    { key: "bright", title: "Type", text: true, show: (d) => polarity(d) },
    { key: "imageName", title: "Image", text: true, wide: true, ascending: true, show: (d) => d.imageName,
      when: () => data.images.length > 1 },
    { key: "thumb", title: "Source, reference, difference", text: true, plain: true, show: (d) => thumbnails(d),
      when: () => data.atlases.length > 0 },
    { key: "x", title: "x", ascending: true },
    { key: "y", title: "y", ascending: true },
    { key: "area", title: "Area", unit: "pixels" },
    { key: "peak", title: "Peak", unit: "grey levels above the threshold" },
    { key: "difference", title: "Difference", unit: "grey levels" },
    { key: "meanGrey", title: "Grey", unit: "grey levels, mean" },
    { key: "meanReference", title: "Reference", unit: "grey levels, mean" },
    { key: "zone", title: "Zone", ascending: true },
    { key: "band", title: "Band", text: true, ascending: true, show: (d) => bandName(d.band) },
    { key: "diameter", title: "Diameter", unit: "in the recipe's pixel sizes" },
  ].filter((column) => !column.when || column.when());

  function polarity(d) {
    return element("span", { class: d.bright ? "polarity bright" : "polarity" }, d.bright ? "bright" : "dark");
  }

  const state = { shown: defects.slice(), sort: "area", descending: true, page: 0, size: 50, selected: null, image: 0 };

  // --- thumbnails: three cells of an atlas for each defect that has them ---
  const atlases = data.atlases.map((source) => {
    const picture = new Image();
    const ready = new Promise((resolve) => {
      picture.onload = resolve;
      picture.onerror = resolve;
    });
    picture.src = source.src;
    return { picture, ready, cell: source.cell, columns: source.columns };
  });
  const parts = ["source", "reference", "difference"];

  function drawCell(canvas, d, part) {
    const [atlas, place] = d.thumb;
    const { picture, ready, cell, columns: across } = atlases[atlas];
    const cellIndex = place * data.parts + part;
    const x = (cellIndex % across) * cell;
    const y = Math.floor(cellIndex / across) * cell;
    canvas.width = cell;
    canvas.height = cell;
    canvas.setAttribute("role", "img");
    canvas.setAttribute("aria-label", parts[part] + " of defect " + d.number);
    canvas.title = parts[part];
    const draw = () => canvas.getContext("2d").drawImage(picture, x, y, cell, cell, 0, 0, cell, cell);
    if (picture.complete && picture.naturalWidth)
      draw();
    else
      ready.then(draw);
    return canvas;
  }

  // For defects without a thumbnail: the overview round them, coarser than the image may be.
  function cutFromOverview(d) {
    const source = d.image === state.image ? picture() : null;
    if (!source)
      return null;
    const image = data.images[d.image];
    const side = Math.max(96, 1.5 * Math.max(d.right - d.left, d.bottom - d.top));
    const canvas = element("canvas", { class: "cut", role: "img", "aria-label": "overview round defect " + d.number });
    canvas.width = canvas.height = 192;
    const draw = () => {
      const scale = source.naturalWidth / image.width;
      canvas.getContext("2d").drawImage(source, (d.x - side / 2) * scale, (d.y - side / 2) * scale, side * scale,
        side * scale, 0, 0, 192, 192);
    };
    if (source.complete && source.naturalWidth)
      draw();
    else
      source.addEventListener("load", draw, { once: true });
    return canvas;
  }

  function thumbnails(d) {
    if (!d.thumb)
      return element("span", { class: "faint" }, "not kept");
    const box = element("span", { class: "thumbs" });
    for (let part = 0; part < data.parts; ++part)
      box.append(drawCell(element("canvas"), d, part));
    return box;
  }

  // --- summary ---
  function tile(value, title, kind) {
    return element("div", { class: "tile " + (kind || "") }, element("b", {}, value), element("span", {}, title));
  }

  function buildSummary() {
    byId("made").textContent = data.made;
    const bright = defects.filter((d) => d.bright).length;
    const codes = [...new Set(data.images.map((image) => image.code))];
    const time = data.images.reduce((sum, image) => sum + image.milliseconds.total, 0);
    byId("tiles").append(
      tile(say(data.images.length), data.images.length === 1 ? "image" : "images"),
      tile(say(data.total), data.total === 1 ? "defect" : "defects"),
      tile(say(defects.length - bright), "dark", "dark"),
      tile(say(bright), "bright", "bright"),
      tile(codes.join(", ") || "none", codes.length > 1 ? "return codes" : "return code"),
      tile(time > 0 ? say(time, 1) + " ms" : "not kept",
        data.images.length > 1 ? "inspection time, all images" : "inspection time"));
    if (data.images.length === 1) {
      const image = data.images[0];
      byId("tiles").append(tile(say(image.width) + " \u00d7 " + say(image.height), "pixels"),
        tile(image.direction, "direction"));
    }
    for (const note of data.notes)
      byId("notes").append(element("p", { class: "note" }, note));
  }

  // --- viewer ---
  const canvas = byId("canvas");
  const context = canvas.getContext("2d");
  const view = { scale: 1, x: 0, y: 0 };
  const pictures = data.images.map(() => null);

  function picture() {
    const source = data.images[state.image].overview;
    if (!source)
      return null;
    if (!pictures[state.image]) {
      const made = new Image();
      made.onload = draw;
      made.src = source.src;
      pictures[state.image] = made;
    }
    return pictures[state.image];
  }

  function resize() {
    const ratio = window.devicePixelRatio || 1;
    const box = canvas.getBoundingClientRect();
    canvas.width = Math.max(1, Math.round(box.width * ratio));
    canvas.height = Math.max(1, Math.round(box.height * ratio));
  }

  function fitScale() {
    const image = data.images[state.image];
    return Math.min(canvas.width / image.width, canvas.height / image.height);
  }

  function fit() {
    const image = data.images[state.image];
    view.scale = fitScale();
    view.x = (canvas.width - image.width * view.scale) / 2;
    view.y = (canvas.height - image.height * view.scale) / 2;
    draw();
  }

  function zoom(factor, atX, atY) {
    const x = atX === undefined ? canvas.width / 2 : atX;
    const y = atY === undefined ? canvas.height / 2 : atY;
    const least = fitScale() / 2;
    const scale = Math.min(Math.max(view.scale * factor, least), 64);
    view.x = x - (x - view.x) * scale / view.scale;
    view.y = y - (y - view.y) * scale / view.scale;
    view.scale = scale;
    draw();
  }

  function move(dx, dy) {
    view.x += dx;
    view.y += dy;
    draw();
  }

  function centre(d) {
    const side = Math.max(d.right - d.left, d.bottom - d.top, 8);
    const wanted = Math.min(canvas.width, canvas.height) / (side * 6);
    view.scale = Math.max(view.scale, Math.min(Math.max(wanted, fitScale()), 6));
    view.x = canvas.width / 2 - d.x * view.scale;
    view.y = canvas.height / 2 - d.y * view.scale;
    draw();
  }

  function colour(name) {
    return getComputedStyle(document.documentElement).getPropertyValue(name).trim();
  }

  function draw() {
    const image = data.images[state.image];
    const source = picture();
    const ratio = window.devicePixelRatio || 1;
    context.setTransform(1, 0, 0, 1, 0, 0);
    context.fillStyle = colour("--stage");
    context.fillRect(0, 0, canvas.width, canvas.height);
    byId("no-overview").hidden = source !== null;
    if (source && source.complete && source.naturalWidth) {
      context.imageSmoothingEnabled = view.scale * image.width / source.naturalWidth < 3;
      context.drawImage(source, view.x, view.y, image.width * view.scale, image.height * view.scale);
    } else {
      context.strokeStyle = colour("--line");
      context.strokeRect(view.x, view.y, image.width * view.scale, image.height * view.scale);
    }
    context.strokeStyle = colour("--region");
    context.lineWidth = ratio;
    const outlines = image.outlines.length ? image.outlines :
      [[[image.region[0], image.region[1]], [image.region[2], image.region[1]], [image.region[2], image.region[3]],
        [image.region[0], image.region[3]]]];
    for (const outline of outlines) {
      context.beginPath();
      outline.forEach(([x, y], i) => context[i ? "lineTo" : "moveTo"](view.x + x * view.scale, view.y + y * view.scale));
      context.closePath();
      context.stroke();
    }
    const here = state.shown.filter((d) => d.image === state.image);
    if (byId("frames").checked)
      for (const d of here)
        frame(d, ratio, here.length);
    if (state.selected && state.selected.image === state.image)
      frame(state.selected, ratio, 0);
    byId("zoom").textContent = say(view.scale / ratio * 100, view.scale < 0.1 ? 1 : 0) + " %";
    canvas.setAttribute("aria-label", "Image " + image.name + " with " + say(here.length) + " defects framed");
  }

  function frame(d, ratio, crowd) {
    const chosen = d === state.selected;
    const space = 3 * ratio + 2 * view.scale;
    let left = view.x + d.left * view.scale - space;
    let top = view.y + d.top * view.scale - space;
    let right = view.x + d.right * view.scale + space;
    let bottom = view.y + d.bottom * view.scale + space;
    if (right < 0 || bottom < 0 || left > canvas.width || top > canvas.height)
      return;
    const least = 7 * ratio;
    if (right - left < least) {
      left = (left + right - least) / 2;
      right = left + least;
    }
    if (bottom - top < least) {
      top = (top + bottom - least) / 2;
      bottom = top + least;
    }
    const crowded = crowd > 2000 && view.scale < 0.5;
    context.lineWidth = (chosen ? 4 : crowded ? 1 : 2) * ratio;
    context.strokeStyle = chosen ? "#ffe14d" : d.bright ? "#ff9a4d" : "#37c3ff";
    context.setLineDash(d.bright && !chosen ? [5 * ratio, 3 * ratio] : []);
    context.strokeRect(left, top, right - left, bottom - top);
    context.setLineDash([]);
    if (byId("numbers").checked && (chosen || crowd <= 300 || view.scale >= 0.7 * ratio)) {
      context.font = (chosen ? "bold " : "") + 12 * ratio + "px system-ui, sans-serif";
      context.lineWidth = 3 * ratio;
      context.strokeStyle = "#000";
      context.fillStyle = chosen ? "#ffe14d" : d.bright ? "#ffb27a" : "#7fd9ff";
      const y = top - 4 * ratio > 12 * ratio ? top - 4 * ratio : bottom + 13 * ratio;
      context.strokeText(String(d.number), left, y);
      context.fillText(String(d.number), left, y);
    }
  }

  function pointAt(event) {
    const box = canvas.getBoundingClientRect();
    const x = (event.clientX - box.left) * canvas.width / box.width;
    const y = (event.clientY - box.top) * canvas.height / box.height;
    return { x, y, imageX: (x - view.x) / view.scale, imageY: (y - view.y) / view.scale };
  }

  function hit(point) {
    const reach = 8 * (window.devicePixelRatio || 1) / view.scale + 2;
    let best = null;
    let bestDistance = Infinity;
    for (const d of state.shown) {
      if (d.image !== state.image)
        continue;
      const dx = Math.max(d.left - point.imageX, point.imageX - d.right, 0);
      const dy = Math.max(d.top - point.imageY, point.imageY - d.bottom, 0);
      const distance = Math.hypot(dx, dy) + 1e-3 * (d.right - d.left);
      if (Math.hypot(dx, dy) <= reach && distance < bestDistance) {
        best = d;
        bestDistance = distance;
      }
    }
    return best;
  }

  function watchViewer() {
    canvas.addEventListener("wheel", (event) => {
      event.preventDefault();
      const point = pointAt(event);
      zoom(Math.exp(-event.deltaY * (event.deltaMode === 1 ? 0.05 : 0.0016)), point.x, point.y);
    }, { passive: false });

    const fingers = new Map();
    let travelled = 0;
    canvas.addEventListener("pointerdown", (event) => {
      canvas.setPointerCapture(event.pointerId);
      fingers.set(event.pointerId, pointAt(event));
      travelled = 0;
    });
    canvas.addEventListener("pointermove", (event) => {
      const point = pointAt(event);
      const inside = point.imageX >= 0 && point.imageY >= 0 && point.imageX < data.images[state.image].width &&
        point.imageY < data.images[state.image].height;
      byId("place").textContent = inside ? Math.floor(point.imageX) + ", " + Math.floor(point.imageY) : "";
      const before = fingers.get(event.pointerId);
      if (!before)
        return;
      canvas.classList.add("dragging");
      if (fingers.size === 2) {
        const [other] = [...fingers].filter(([id]) => id !== event.pointerId).map(([, at]) => at);
        const then = Math.hypot(before.x - other.x, before.y - other.y);
        const now = Math.hypot(point.x - other.x, point.y - other.y);
        if (then > 0)
          zoom(now / then, (point.x + other.x) / 2, (point.y + other.y) / 2);
      } else
        move(point.x - before.x, point.y - before.y);
      travelled += Math.abs(point.x - before.x) + Math.abs(point.y - before.y);
      fingers.set(event.pointerId, point);
    });
    const lift = (event) => {
      fingers.delete(event.pointerId);
      canvas.classList.remove("dragging");
    };
    canvas.addEventListener("pointerup", (event) => {
      if (fingers.has(event.pointerId) && travelled < 5) {
        const d = hit(pointAt(event));
        if (d)
          select(d, { centre: false, reveal: true });
      }
      lift(event);
    });
    canvas.addEventListener("pointercancel", lift);
    canvas.addEventListener("pointerleave", () => { byId("place").textContent = ""; });

    canvas.addEventListener("keydown", (event) => {
      if (event.ctrlKey || event.metaKey || event.altKey)
        return;
      const step = 60 * (window.devicePixelRatio || 1);
      const actions = {
        "+": () => zoom(1.25), "=": () => zoom(1.25), "-": () => zoom(0.8), "0": fit,
        ArrowLeft: () => move(step, 0), ArrowRight: () => move(-step, 0),
        ArrowUp: () => move(0, step), ArrowDown: () => move(0, -step),
        n: () => stepDefect(1), p: () => stepDefect(-1),
      };
      if (actions[event.key]) {
        event.preventDefault();
        actions[event.key]();
      }
    });
    byId("zoom-in").addEventListener("click", () => zoom(1.25));
    byId("zoom-out").addEventListener("click", () => zoom(0.8));
    byId("zoom-fit").addEventListener("click", fit);
    byId("next").addEventListener("click", () => stepDefect(1));
    byId("previous").addEventListener("click", () => stepDefect(-1));
    byId("frames").addEventListener("change", draw);
    byId("numbers").addEventListener("change", draw);
    byId("image").addEventListener("change", (event) => showImage(Number(event.target.value)));
    new ResizeObserver(() => {
      const before = { width: canvas.width, height: canvas.height };
      resize();
      view.x += (canvas.width - before.width) / 2;
      view.y += (canvas.height - before.height) / 2;
      draw();
    }).observe(canvas);
  }

  function showImage(index) {
    state.image = index;
    byId("image").value = String(index);
    fit();
  }

  function stepDefect(by) {
    if (!state.shown.length)
      return;
    const at = state.shown.indexOf(state.selected);
    const next = at < 0 ? (by > 0 ? 0 : state.shown.length - 1) : (at + by + state.shown.length) % state.shown.length;
    select(state.shown[next], { centre: true, reveal: true });
  }

  // --- selection ---
  function select(d, how) {
    state.selected = d;
    if (d.image !== state.image)
      showImage(d.image);
    if (how.reveal) {
      const page = Math.floor(state.shown.indexOf(d) / state.size);
      if (page >= 0 && page !== state.page) {
        state.page = page;
        buildRows();
      }
    }
    for (const row of byId("rows").children)
      row.setAttribute("aria-selected", String(Number(row.dataset.index) === d.index));
    if (how.centre)
      centre(d);
    else
      draw();
    buildDetail();
  }

  function buildDetail() {
    const box = byId("detail");
    box.textContent = "";
    const d = state.selected;
    if (!d) {
      box.append(element("h2", {}, "No defect selected"),
        element("p", { class: "help" }, defects.length ? "Click a frame or a row of the table." :
          "Nothing was found that could be."));
      return;
    }
    box.append(element("h2", {}, "Defect " + d.number + " ", polarity(d)));
    if (d.thumb) {
      const trio = element("div", { class: "trio" });
      for (let part = 0; part < data.parts; ++part)
        trio.append(element("figure", {}, drawCell(element("canvas"), d, part),
          element("figcaption", {}, parts[part])));
      box.append(trio);
    } else {
      const cut = cutFromOverview(d);
      box.append(cut || "", element("p", { class: "help" },
        "No thumbnail of this defect is kept in the page" + (cut ? "; this is from the overview." : ".")));
    }
    const list = element("dl");
    const add = (name, value) => list.append(element("dt", {}, name), element("dd", {}, value));
    if (data.images.length > 1)
      add("image", d.imageName);
    add("centre", d.x + ", " + d.y);
    add("from", d.left + ", " + d.top);
    add("to", (d.right - 1) + ", " + (d.bottom - 1));
    add("size", (d.right - d.left) + " \u00d7 " + (d.bottom - d.top) + " pixels");
    add("area", say(d.area) + " pixels");
    add("peak above threshold", say(d.peak) + " grey levels");
    add("peak at", d.peakX + ", " + d.peakY);
    add("difference there", say(d.difference) + " grey levels");
    add("mean difference", say(d.meanDifference) + " grey levels");
    add("mean grey, reference", d.meanGrey + ", " + d.meanReference);
    add("zone", String(d.zone));
    add("band", bandName(d.band) + (d.single ? ", seen once" : ", seen twice"));
    if (d.scale !== 1) add("scale", "1 : " + d.scale);
    if (d.channel !== "grey") add("channel", d.channel);
    add("label", String(d.label));
    add("diameter", say(d.diameter));
    add("angle", d.angle.toFixed(0) + "\u00b0");
    add("long, short axis", d.majorAxis.toFixed(1) + ", " + d.minorAxis.toFixed(1) + " pixels");
    add("circularity", d.circularity.toFixed(2));
    add("elongation", d.elongation.toFixed(2));
    box.append(list);
  }

  // --- table ---
  function buildHead() {
    for (const column of columns) {
      const head = element("th", { scope: "col", class: column.text ? "text" : "", "data-key": column.key });
      if (column.plain) {
        head.classList.add("plain");
        head.append(data.parts > 1 ? column.title : "Source");
      } else {
        const button = element("button", { type: "button", title: column.unit || null }, column.title);
        button.addEventListener("click", () => {
          if (state.sort === column.key)
            state.descending = !state.descending;
          else {
            state.sort = column.key;
            state.descending = !column.ascending;
          }
          state.page = 0;
          sortShown();
          buildRows();
        });
        head.append(button);
      }
      byId("head").append(head);
    }
  }

  function sortShown() {
    const sign = state.descending ? -1 : 1;
    const key = state.sort;
    state.shown.sort((a, b) => {
      const order = typeof a[key] === "string" ? a[key].localeCompare(b[key], "en", { numeric: true }) : a[key] - b[key];
      return order ? sign * order : a.index - b.index;
    });
    for (const head of byId("head").children)
      if (head.dataset.key === key)
        head.setAttribute("aria-sort", state.descending ? "descending" : "ascending");
      else
        head.removeAttribute("aria-sort");
  }

  function makeRow(d) {
    const row = element("tr", { tabindex: "0", "data-index": d.index, "aria-selected": String(d === state.selected) });
    for (const column of columns)
      row.append(element("td", { class: (column.text ? "text" : "") + (column.wide ? " name" : "") },
        column.show ? column.show(d) : say(d[column.key])));
    row.addEventListener("click", () => select(d, { centre: true }));
    row.addEventListener("keydown", (event) => {
      if (event.key === "Enter" || event.key === " ") {
        event.preventDefault();
        select(d, { centre: true });
      } else if (event.key === "ArrowDown" || event.key === "ArrowUp") {
        const other = event.key === "ArrowDown" ? row.nextElementSibling : row.previousElementSibling;
        if (other) {
          event.preventDefault();
          other.focus();
        }
      }
    });
    return row;
  }

  function buildRows() {
    const pages = Math.max(1, Math.ceil(state.shown.length / state.size));
    state.page = Math.min(Math.max(state.page, 0), pages - 1);
    const first = state.page * state.size;
    const rows = state.shown.slice(first, first + state.size);
    byId("rows").replaceChildren(...rows.map(makeRow));
    byId("page").textContent = state.shown.length ?
      say(first + 1) + " to " + say(first + rows.length) + " of " + say(state.shown.length) : "none";
    byId("page-first").disabled = byId("page-before").disabled = state.page === 0;
    byId("page-last").disabled = byId("page-next").disabled = state.page === pages - 1;
    byId("table").hidden = !state.shown.length;
    byId("no-rows").hidden = state.shown.length > 0;
    byId("no-rows").textContent = defects.length ? "No defect passes the filters." : "No defects were found.";
    byId("count").textContent = state.shown.length === defects.length ? say(defects.length) + " in all" :
      say(state.shown.length) + " of " + say(defects.length) + " pass the filters";
  }

  function watchTable() {
    byId("page-first").addEventListener("click", () => { state.page = 0; buildRows(); });
    byId("page-before").addEventListener("click", () => { --state.page; buildRows(); });
    byId("page-next").addEventListener("click", () => { ++state.page; buildRows(); });
    byId("page-last").addEventListener("click", () => { state.page = Infinity; buildRows(); });
    byId("page-size").addEventListener("change", (event) => {
      const first = state.page * state.size;
      state.size = Number(event.target.value);
      state.page = Math.floor(first / state.size);
      buildRows();
    });
    // On paper, the first rows of the table that pass the filters.
    let before = null;
    window.addEventListener("beforeprint", () => {
      before = { size: state.size, page: state.page };
      state.size = 400;
      state.page = 0;
      buildRows();
    });
    window.addEventListener("afterprint", () => {
      if (before)
        Object.assign(state, before);
      buildRows();
    });
  }

  // --- filters ---
  function option(value, text) {
    return element("option", { value }, text);
  }

  function buildFilters() {
    byId("filter-image").append(option("", "all"), ...data.images.map((image, i) => option(i, image.name)));
    byId("filter-image").parentElement.hidden = data.images.length < 2;
    const zones = [...new Set(defects.map((d) => d.zone))].sort((a, b) => a - b);
    byId("filter-zone").append(option("", "all"), ...zones.map((zone) => option(zone, String(zone))));
    byId("image").append(...data.images.map((image, i) =>
      option(i, image.name + " (" + say(image.defects) + (image.defects === 1 ? " defect)" : " defects)"))));
    byId("filters").addEventListener("input", applyFilters);
    byId("filters").addEventListener("submit", (event) => event.preventDefault());
    byId("filters").addEventListener("reset", () => setTimeout(applyFilters));
  }

  function applyFilters() {
    const read = (id) => byId(id).value.trim();
    const type = read("filter-type");
    const image = read("filter-image");
    const zone = read("filter-zone");
    const low = read("filter-low");
    const high = read("filter-high");
    const words = read("filter-text").toLowerCase().split(/\s+/).filter(Boolean);
    state.shown = defects.filter((d) =>
      (type === "" || d.bright === Number(type)) && (image === "" || d.image === Number(image)) &&
      (zone === "" || d.zone === Number(zone)) && (low === "" || d.area >= Number(low)) &&
      (high === "" || d.area <= Number(high)) && words.every((word) => d.text.includes(word)));
    state.page = 0;
    sortShown();
    buildRows();
    buildCharts();
    draw();
  }

  // --- charts ---
  function niceStep(rough) {
    const power = Math.pow(10, Math.floor(Math.log10(Math.max(rough, 1e-9))));
    const ratio = rough / power;
    return power * (ratio <= 1 ? 1 : ratio <= 2 ? 2 : ratio <= 5 ? 5 : 10);
  }

  // Bins [from, to) of equal width, or doubling ones from 1 on.
  function equalBins(values, low, high, wanted, whole) {
    const step = Math.max(niceStep((high - low) / wanted), whole ? 1 : 0);
    const start = Math.floor(low / step) * step;
    const bins = [];
    for (let from = start; from < high || !bins.length; from += step)
      bins.push({ from, to: from + step, count: 0 });
    for (const value of values)
      bins[Math.min(Math.max(Math.floor((value - start) / step), 0), bins.length - 1)].count += 1;
    return bins;
  }

  function doublingBins(values) {
    const high = values.reduce((most, value) => Math.max(most, value), 1);
    const bins = [];
    for (let from = 1; from <= high; from *= 2)
      bins.push({ from, to: from * 2, count: 0 });
    for (const value of values)
      bins[Math.min(Math.max(Math.floor(Math.log2(Math.max(value, 1))), 0), bins.length - 1)].count += 1;
    return bins;
  }

  function histogram(title, unit, bins, name) {
    const width = 420, height = 210, left = 44, right = 10, top = 10, bottom = 42;
    const most = bins.reduce((high, bin) => Math.max(high, bin.count), 0);
    const step = Math.max(1, niceStep(most / 4));
    const ceiling = Math.max(step, Math.ceil(most / step) * step);
    const y = (count) => height - bottom - count / ceiling * (height - top - bottom);
    const slot = (width - left - right) / bins.length;
    const total = bins.reduce((sum, bin) => sum + bin.count, 0);
    const fullest = bins.reduce((best, bin) => (bin.count > best.count ? bin : best), bins[0]);
    const label = title + " of " + say(total) + " defects" + (total ? "; most, " + say(fullest.count) + ", at " +
      name(fullest) : "");
    const drawing = svg("svg", { viewBox: "0 0 " + width + " " + height, role: "img", "aria-label": label });
    const axis = svg("g", { class: "axis" });
    for (let count = 0; count <= ceiling; count += step)
      axis.append(svg("line", { x1: left, x2: width - right, y1: y(count), y2: y(count) }),
        svg("text", { x: left - 6, y: y(count) + 4, "text-anchor": "end" }, say(count)));
    const bars = svg("g", { class: "bars" });
    const every = Math.ceil(bins.length / 8);
    bins.forEach((bin, i) => {
      const bar = svg("rect", { x: left + i * slot + 1, width: Math.max(slot - 2, 1), y: y(bin.count),
        height: y(0) - y(bin.count) }, svg("title", {}, name(bin) + ": " + say(bin.count)));
      bars.append(bar);
      if (i % every === 0)
        axis.append(svg("text", { x: left + i * slot + (slot - 2) * 0.5, y: height - bottom + 15,
          "text-anchor": "middle" }, say(bin.from)));
    });
    axis.append(svg("text", { x: (left + width - right) / 2, y: height - 6, "text-anchor": "middle" }, unit));
    drawing.append(axis, bars);
    return element("div", { class: "panel chart" }, element("h3", {}, title), drawing);
  }

  // Light to deep in even steps of lightness, so that it reads in grey print too.
  function heat(share) {
    const steps = [[255, 247, 188], [254, 217, 118], [254, 153, 41], [217, 72, 1], [127, 39, 4]];
    const at = Math.min(share, 1) * (steps.length - 1);
    const below = Math.min(Math.floor(at), steps.length - 2);
    const mix = steps[below].map((value, i) => Math.round(value + (steps[below + 1][i] - value) * (at - below)));
    return "rgb(" + mix.join(",") + ")";
  }

  function heatMap(title, explanation, width, height, points) {
    // Finer with more defects, so that a place can fill up before it is split.
    const fine = Math.min(Math.max(Math.round(2.5 * Math.sqrt(points.length)), 12), 48);
    const across = width >= height ? fine : Math.max(4, Math.round(fine * width / height));
    const down = Math.max(2, Math.round(across * height / width));
    const cells = new Map();
    for (const [x, y] of points) {
      const column = Math.min(Math.max(Math.floor(x / width * across), 0), across - 1);
      const row = Math.min(Math.max(Math.floor(y / height * down), 0), down - 1);
      const key = row * across + column;
      cells.set(key, (cells.get(key) || 0) + 1);
    }
    const most = Math.max(1, ...cells.values());
    const drawnWidth = 400, drawnHeight = drawnWidth * height / width;
    const scale = Math.min(1, 300 / drawnHeight);
    const w = drawnWidth * scale, h = drawnHeight * scale;
    const drawing = svg("svg", { viewBox: "0 0 420 " + (h + 44), role: "img",
      "aria-label": title + ": " + say(points.length) + " defects, at most " + say(most) + " in one place" });
    const x0 = (420 - w) / 2;
    drawing.append(svg("rect", { class: "frame", x: x0, y: 2, width: w, height: h }));
    for (const [key, count] of cells) {
      const column = key % across, row = Math.floor(key / across);
      drawing.append(svg("rect", { x: x0 + column * w / across, y: 2 + row * h / down, width: w / across,
        height: h / down, fill: heat(most > 1 ? (count - 1) / (most - 1) : 0.5) },
        svg("title", {}, say(count) + " at " + Math.round((column + 0.5) * width / across) + ", " +
          Math.round((row + 0.5) * height / down))));
    }
    drawing.append(svg("text", { x: x0, y: h + 17 }, "0, 0"),
      svg("text", { x: x0 + w, y: h + 17, "text-anchor": "end" }, say(width, 1) + ", " + say(height, 1)));
    const shades = most > 1 ? 5 : 0;
    for (let i = 0; i < shades; ++i)
      drawing.append(svg("rect", { x: 160 + i * 20, y: h + 26, width: 20, height: 10, fill: heat(i / (shades - 1)) }));
    if (shades)
      drawing.append(svg("text", { x: 154, y: h + 36, "text-anchor": "end" }, "1"),
        svg("text", { x: 160 + shades * 20 + 6, y: h + 36 }, say(most) + " defects"));
    return element("div", { class: "panel chart" }, element("h3", {}, title), drawing, element("p", {}, explanation));
  }

  function buildCharts() {
    const shown = state.shown;
    const width = data.images.reduce((most, image) => Math.max(most, image.width), 1);
    const height = data.images.reduce((most, image) => Math.max(most, image.height), 1);
    const pick = (key) => shown.map((d) => d[key]);
    const span = (bin) => (bin.to - bin.from <= 1 ? say(bin.from) : say(bin.from) + " to below " + say(bin.to));
    const peaks = pick("peak");
    const highest = peaks.reduce((most, value) => Math.max(most, value), 1) + 1;
    const charts = [
      histogram("Area", "pixels, doubling from bar to bar", doublingBins(pick("area")), span),
      histogram("Peak above the threshold", "grey levels", equalBins(peaks, 0, highest, 20, true), span),
      histogram("Position along x", "pixels", equalBins(pick("x"), 0, width, 24, true), span),
      histogram("Position along y", "pixels", equalBins(pick("y"), 0, height, 24, true), span),
      heatMap("Position in the image", data.images.length > 1 ? "All images on top of each other." :
        "Defects for each place of the image.", width, height, shown.map((d) => [d.x, d.y])),
    ];
    const recipe = data.recipes.length ? data.recipes[0] : null;
    if (data.recipes.length === 1 && recipe.pitchX > 0 && recipe.pitchY > 0) {
      const fold = (value, pitch) => ((value % pitch) + pitch) % pitch;
      charts.push(heatMap("Position in the pattern's cell",
        "One period of the pattern: a defect of the mask or of the design shows as one hot place.",
        recipe.pitchX, recipe.pitchY, shown.map((d) => [fold(d.peakX - recipe.originX, recipe.pitchX),
          fold(d.peakY - recipe.originY, recipe.pitchY)])));
    }
    byId("charts").replaceChildren(...charts);
  }

  // --- lot, images and recipes ---
  function buildLot() {
    byId("lot-section").hidden = !data.comparesImages;
    byId("lot-help").textContent = data.findings.length
      ? "More than chance explains, each kind tested at a risk of 1 %, as by narvo lot."
      : "Nothing beyond chance: no place, column, row, area or place in the cell that comes back, no change of level.";
    byId("lot").hidden = data.findings.length === 0;
    const head = element("tr");
    for (const [title, text] of [["Kind", true], ["Where", true], ["Shown", true], ["By chance"], ["Probability"]])
      head.append(element("th", { scope: "col", class: "plain" + (text ? " text" : "") }, title));
    const body = element("tbody");
    for (const [what, where, shown, expected, probability] of data.findings)
      body.append(element("tr", { class: "fixed" }, element("td", { class: "text" }, what),
        element("td", { class: "text name" }, where), element("td", { class: "text" }, shown),
        element("td", {}, expected), element("td", {}, probability.toPrecision(2))));
    byId("lot").append(element("caption", { class: "unseen" }, "What several images show beyond chance"),
      element("thead", {}, head), body);
  }

  function buildCell() {
    const { cell } = data;
    byId("cell-section").hidden = !cell;
    if (!cell)
      return;
    const count = (number, one, many) => say(number) + " " + (number === 1 ? one : many);
    byId("cell-help").textContent = count(cell.images, "image was", "images were") + " held against the golden cell, of which " +
      count(cell.different, "differs", "differ") + (cell.found > cell.places.length
      ? "; of " + say(cell.found) + " places the " + cell.places.length + " that most images show are listed." : ".");
    byId("cell-figure").hidden = !cell.picture;
    if (cell.picture) {
      byId("cell-picture").src = cell.picture;
      byId("cell-picture").alt = "Golden cell, cell of " + cell.drawn + " and difference";
      byId("cell-caption").textContent = "From the left: the golden cell, the mean cell of " + cell.drawn +
        ", and four times their difference about mid-grey.";
    }
    byId("cell").hidden = cell.places.length === 0;
    const head = element("tr");
    for (const [title, text] of [["Where in the cell", true], ["Grey levels"], ["Standard errors"], ["Images"],
      ["First image", true], ["Latest image", true]])
      head.append(element("th", { scope: "col", class: "plain" + (text ? " text" : "") }, title));
    const body = element("tbody");
    for (const place of cell.places)
      body.append(element("tr", { class: "fixed" },
        element("td", { class: "text" }, (cell.regions > 1 ? place.region + ": " : "") + place.where),
        element("td", {}, (place.difference > 0 ? "+" : "") + place.difference.toFixed(1)),
        element("td", {}, place.standard_errors.toFixed(1)), element("td", {}, say(place.images)),
        element("td", { class: "text name" }, place.first), element("td", { class: "text name" }, place.last)));
    byId("cell").append(element("caption", { class: "unseen" }, "Places of the cell that differ from the golden cell"),
      element("thead", {}, head), body);
  }

  function buildImages() {
    const head = element("tr");
    for (const [title, text] of [["Image", true], ["Size"], ["Defects"], ["Dark"], ["Bright"], ["Pairs"], ["Re-runs"],
      ["Code"], ["Direction", true], ["Time, ms"], ["Warnings", true]])
      head.append(element("th", { scope: "col", class: "plain" + (text ? " text" : "") }, title));
    const body = element("tbody");
    data.images.forEach((image, i) => {
      const open = element("button", { type: "button", class: "quiet" }, image.name);
      open.addEventListener("click", () => {
        showImage(i);
        byId("canvas").focus();
        document.querySelector(".view").scrollIntoView({ block: "start" });
      });
      body.append(element("tr", { class: "fixed" }, element("td", { class: "text name" }, open),
        element("td", {}, image.width + " \u00d7 " + image.height), element("td", {}, say(image.defects)),
        element("td", {}, say(image.defects - image.bright)), element("td", {}, say(image.bright)),
        element("td", {}, say(image.pairs)), element("td", {}, say(image.reruns)), element("td", {}, image.code),
        element("td", { class: "text" }, image.direction), element("td", {}, say(image.milliseconds.total, 1)),
        element("td", { class: "text name" }, image.warnings.join("; ") || "none")));
    });
    byId("images").append(element("caption", { class: "unseen" }, "Inspected images; the name shows the image"),
      element("thead", {}, head), body);
  }

  function buildRecipes() {
    const table = (rows) => {
      const head = element("tr");
      for (const title of ["Field", "Value", "Meaning"])
        head.append(element("th", { scope: "col", class: "plain text" }, title));
      return element("table", {}, element("thead", {}, head), element("tbody", {},
        ...rows.map(([path, value, unit, meaning]) => element("tr", {}, element("td", { class: "text" }, path),
          element("td", { class: "value" }, value + (unit ? " " + unit : "")),
          element("td", { class: "text" }, meaning)))));
    };
    for (const recipe of data.recipes) {
      const set = recipe.rows.filter(([, , , , isDefault]) => !isDefault);
      const rest = recipe.rows.filter(([, , , , isDefault]) => isDefault);
      byId("recipes").append(element("div", { class: "panel recipe" },
        element("h3", {}, recipe.name + " (" + recipe.kind + ")"), table(set),
        element("details", {}, element("summary", {}, say(rest.length) + " fields at their defaults"), table(rest))));
    }
    byId("recipes").hidden = data.recipes.length === 0;
  }

  function watchTheme() {
    const order = ["", "dark", "light"];
    const titles = { "": "Colours: as the system", dark: "Colours: dark", light: "Colours: light" };
    byId("theme").addEventListener("click", () => {
      const now = document.documentElement.dataset.theme || "";
      const next = order[(order.indexOf(now) + 1) % order.length];
      if (next)
        document.documentElement.dataset.theme = next;
      else
        delete document.documentElement.dataset.theme;
      byId("theme").textContent = titles[next];
      draw();
    });
    window.matchMedia("(prefers-color-scheme: dark)").addEventListener("change", draw);
  }

  buildSummary();
  buildHead();
  buildFilters();
  buildLot();
  buildCell();
  buildImages();
  buildRecipes();
  resize();
  watchViewer();
  watchTable();
  watchTheme();
  sortShown();
  buildRows();
  buildCharts();
  buildDetail();
  if (data.images.length)
    showImage(state.shown.length ? state.shown[0].image : 0);
  if (state.shown.length)
    select(state.shown[0], { centre: false });
  document.documentElement.dataset.ready = "yes";
})();
