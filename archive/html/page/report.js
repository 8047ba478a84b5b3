// The page of a report. Its data are scripts that call the functions of `report`, since a page that is opened from a disk
// may load nothing else; those of rows are loaded when they are needed.
"use strict";

const report = (() => {
  const { OUTCOMES, element, foreign, number, table, tableRow, visible } = elements;
  const ROWS_A_PAGE = 100;
  const PARTS_KEPT = 4; // of rows, 50,000 each
  const OUTPUTS_SHOWN = 20;
  const FILTERS = ["outcome", "kind", "reason", "study", "text", "pictures"];
  // Places in a row.
  const [INPUT, STUDY, INSTANCE, OUTCOME, KINDS, REASONS, OUTPUTS, TIME, MESSAGES, HIDDEN, DETAILS] = Array(11).keys();

  let totals;
  const parts = new Map();
  const details = new Map();
  const scripts = new Map();
  let starts = [];
  let turn = 0;
  let found = { key: null, rows: [] };

  const byId = (id) => document.getElementById(id);
  const form = () => byId("filters");
  const sum = (list, field) => list.reduce((all, entry) => all + entry[field], 0);

  function load(name) {
    if (!scripts.has(name))
      scripts.set(name, new Promise((done, failed) => {
        const script = element("script", { src: name });
        script.onload = () => { script.remove(); done(); };
        script.onerror = () => failed(new Error(`${name} cannot be loaded.`));
        document.head.append(script);
      }));
    return scripts.get(name);
  }

  /// Rows of a part. The part that was asked for first is forgotten first.
  async function loadPart(place) {
    const name = `data/rows-${place}.js`;
    await load(name);
    const rows = parts.get(place);
    for (const [other] of [...parts].slice(0, -PARTS_KEPT)) {
      parts.delete(other);
      scripts.delete(`data/rows-${other}.js`);
    }
    return rows;
  }

  // Filters

  function asked() {
    const given = new URLSearchParams(location.hash.slice(1));
    const filters = Object.fromEntries(FILTERS.map((name) => [name, given.get(name) || ""]));
    return { filters, page: Math.max(1, Math.floor(Number(given.get("page"))) || 1) };
  }

  function addressOf(filters, page = 1) {
    const given = new URLSearchParams();
    for (const name of FILTERS) if (filters[name]) given.set(name, filters[name]);
    if (page > 1) given.set("page", page);
    return "#" + given;
  }

  const placeOf = (list, name) => list.findIndex((entry) => entry.name === name);
  const begins = (uid, start) => uid === start || uid.startsWith(start.endsWith(".") ? start : start + ".");

  function matcher(filters) {
    const outcome = placeOf(totals.outcomes, filters.outcome);
    const kind = placeOf(totals.kinds, filters.kind);
    const reason = placeOf(totals.reasons, filters.reason);
    const text = filters.text.toLowerCase();
    const holds = (row) => [row[INPUT], row[STUDY], row[INSTANCE], ...row[REASONS].map((entry) => entry[1] || ""),
                            ...row[MESSAGES]].some((piece) => piece.toLowerCase().includes(text));
    return {
      part: (part) => (!filters.outcome || part.outcomes.includes(outcome)) &&
                      (!filters.kind || part.kinds.includes(kind)) &&
                      (!filters.reason || part.reasons.includes(reason)) && (!filters.pictures || part.details > 0),
      row: (row) => (!filters.outcome || row[OUTCOME] === outcome) &&
                    (!filters.kind || row[KINDS].some((entry) => entry[0] === kind)) &&
                    (!filters.reason || row[REASONS].some((entry) => entry[0] === reason)) &&
                    (!filters.study || begins(row[STUDY], filters.study)) && (!filters.pictures || row[DETAILS]) &&
                    (!text || holds(row)),
    };
  }

  /// The numbers of the rows that pass, from 0 on; null where another search has begun meanwhile. Without filters nothing
  /// is loaded.
  async function search(filters, mine) {
    const key = addressOf(filters);
    if (key === "#") return null;
    if (key === found.key) return found.rows;
    const passes = matcher(filters);
    const rows = [];
    for (let place = 0; place < totals.parts.length; ++place) {
      if (!passes.part(totals.parts[place])) continue;
      byId("result").textContent = `Searching: ${number(starts[place])} of ${number(totals.inputs)} rows.`;
      (await loadPart(place)).forEach((row, index) => { if (passes.row(row)) rows.push(starts[place] + index); });
      if (mine !== turn) return null;
    }
    found = { key, rows };
    return rows;
  }

  async function rowAt(index) {
    const place = starts.findLastIndex((start) => start <= index);
    return (await loadPart(place))[index - starts[place]];
  }

  // Rows

  function linesOf(row) {
    return row[KINDS].map(([kind, read, written]) =>
      element("span", {}, foreign(totals.kinds[kind].name), ` ${read} = ${written} + ${read - written}`));
  }

  function reasonItem([place, detail, count]) {
    const reason = totals.reasons[place];
    return element("li", {}, reason.meaning, " ", element("code", {}, visible(reason.name)), " ",
                   detail ? foreign(detail) : null, count ? ` (${number(count)} ${count === 1 ? "line" : "lines"})` : null,
                   element("span", { class: "action" }, "To do: " + reason.action));
  }

  function messagesOf(row) {
    if (row[MESSAGES].length === 0) return null;
    const all = row[MESSAGES].length + row[HIDDEN];
    return element("details", {}, element("summary", {}, `Messages (${number(all)})`),
                   element("ul", {}, ...row[MESSAGES].map((text) => element("li", {}, foreign(text))),
                           row[HIDDEN] ? element("li", {}, `${number(row[HIDDEN])} more in rows.jsonl`) : null));
  }

  function rowElement(row, index) {
    const outcome = totals.outcomes[row[OUTCOME]].name;
    const [mood] = OUTCOMES[outcome];
    const studyLink = row[STUDY] ?
      element("span", {}, "Study ", element("a", { href: addressOf({ study: row[STUDY] }) }, foreign(row[STUDY]))) : null;
    const made = element("article", { class: `row ${mood}`, tabindex: "0", "data-row": index + 1 },
      element("h3", {}, element("span", { class: "badge" }, outcome), ` ${number(index + 1)} `,
              foreign(row[INPUT], { class: "path" })),
      element("p", { class: "facts" }, studyLink,
              row[INSTANCE] ? element("span", {}, "Object ", foreign(row[INSTANCE])) : null,
              ...linesOf(row), element("span", {}, `Outputs ${number(row[OUTPUTS])}`),
              element("span", {}, `${row[TIME]} ms`)),
      row[REASONS].length ? element("ul", { class: "reasons" }, ...row[REASONS].map(reasonItem)) : null,
      messagesOf(row));
    if (row[DETAILS]) {
      const place = element("div", { class: "details", "data-details": index + 1 });
      made.append(place);
      watcher.observe(place);
    }
    return made;
  }

  // Pictures and lines of plug-in states

  const watcher = new IntersectionObserver((entries) => {
    for (const entry of entries) if (entry.isIntersecting) fill(entry.target);
  }, { rootMargin: "600px" });

  async function fill(place) {
    watcher.unobserve(place);
    if (place.firstChild) return;
    const row = Number(place.dataset.details);
    const name = String(row).padStart(6, "0");
    try {
      await load(`d/${String(Math.floor(row / 1000)).padStart(3, "0")}/${name}.js`);
    } catch (failure) {
      place.textContent = failure.message;
      return;
    }
    const { problem, parts: all, cut } = details.get(row);
    if (problem) place.append(element("p", {}, problem));
    showParts(place, all);
    if (cut) place.append(element("p", {}, `${number(cut)} more lines are not shown.`));
  }

  function showParts(place, all) {
    place.append(...all.slice(0, OUTPUTS_SHOWN).map(partElement));
    const rest = all.slice(OUTPUTS_SHOWN);
    if (rest.length === 0) return;
    const button = element("button", { type: "button" }, `Show ${number(rest.length)} more outputs`);
    button.onclick = () => { button.remove(); showParts(place, rest); };
    place.append(button);
  }

  function partElement(part) {
    const made = element("div", { class: "part" });
    const name = part.file ? foreign(part.file) : "output";
    if (part.picture)
      made.append(element("figure", {}, element("img", { src: part.picture, loading: "lazy", alt: "Picture of the output" }),
                          element("figcaption", {}, element("a", { href: part.picture }, name))));
    else if (part.code)
      made.append(element("figure", {}, element("p", {}, "No picture: ", foreign(part.reason), " ", element("code", {}, part.code)),
                          element("figcaption", {}, name)));
    else
      made.append(element("figure", {}, element("p", {}, "No output.")));
    made.append(element("ul", { class: "lines" }, ...part.lines.map((line) => element("li", {}, foreign(line)))));
    return made;
  }

  // The page

  function pagesElement(filters, page, pages) {
    const link = (text, to, rel) =>
      to >= 1 && to <= pages ? element("a", { href: addressOf(filters, to), rel }, text) : element("span", {}, text);
    return [link("Page before", page - 1, "prev"), `${number(page)} of ${number(pages)}`, link("Next page", page + 1, "next")];
  }

  async function show() {
    const mine = ++turn;
    const { filters, page: wanted } = asked();
    for (const name of FILTERS)
      if (name === "pictures") form().elements[name].checked = filters[name] !== "";
      else form().elements[name].value = filters[name];
    try {
      const rows = await search(filters, mine);
      if (mine !== turn) return;
      const all = rows ? rows.length : totals.inputs;
      const pages = Math.max(1, Math.ceil(all / ROWS_A_PAGE));
      const page = Math.min(wanted, pages);
      const first = (page - 1) * ROWS_A_PAGE;
      const shown = [];
      for (let i = first; i < Math.min(all, first + ROWS_A_PAGE); ++i) {
        const index = rows ? rows[i] : i;
        shown.push(rowElement(await rowAt(index), index));
      }
      if (mine !== turn) return;
      byId("rows").replaceChildren(...shown);
      byId("result").textContent = shown.length === 0 ? "No row." :
        `Rows ${number(first + 1)} to ${number(first + shown.length)} of ${number(all)}, failures first` +
        FILTERS.filter((name) => filters[name]).map((name) => `; ${name}: ${visible(filters[name])}`).join("") + ".";
      for (const nav of document.querySelectorAll(".pages")) nav.replaceChildren(...pagesElement(filters, page, pages));
    } catch (failure) {
      byId("result").textContent = failure.message;
    }
    document.body.dataset.shownAt = performance.now(); // for whoever waits for the rows
    document.body.dataset.shown = location.hash;
  }

  const filterLink = (name, value) => element("a", { href: addressOf({ [name]: value }) }, visible(value));

  function showTotals() {
    const read = sum(totals.kinds, "read");
    const written = sum(totals.kinds, "written");
    const lost = sum(totals.reasons, "lost");
    const outcomes = Object.entries(OUTCOMES).map(([name, [mood, meaning]]) => {
      const { inputs } = totals.outcomes[placeOf(totals.outcomes, name)];
      return tableRow([element("span", { class: inputs ? `badge ${mood}` : "", title: meaning }, filterLink("outcome", name))],
                      number(inputs));
    });
    const kinds = totals.kinds.map((kind) => tableRow([filterLink("kind", kind.name)], number(kind.inputs), number(kind.read),
                                                      number(kind.written), number(kind.read - kind.written)));
    const reasons = totals.reasons.map((reason) => tableRow([reason.meaning, " ", filterLink("reason", reason.name)],
      number(reason.inputs), reason.lost === reason.lines ? number(reason.lost) : `${number(reason.lines)} other lines`));
    byId("totals").replaceChildren(
      table("Outcomes", ["Outcome", "Inputs"], outcomes, tableRow(["All"], number(totals.inputs))),
      table("Annotation lines", ["Kind", "Inputs", "Read", "= written", "+ lost"], kinds,
            tableRow(["All"], "", number(read), number(written), number(read - written))),
      table("Reasons", ["Reason", "Inputs", "Lines lost"], reasons, tableRow(["All lines lost"], "", number(lost)), true));
    if (read - written !== lost)
      notice(`The lines lost, ${number(read - written)}, are not those of the reasons, ${number(lost)}: do not rely on the journals.`);
  }

  const notice = (...content) => byId("notices").append(element("li", { class: "notice" }, ...content));

  function showAbout() {
    const { journals, pictures } = totals;
    const of = totals.out ? [" of ", foreign(totals.out)] : [];
    byId("about").append(`Made ${totals.made} by annomend-archive ${totals.program}`, ...of,
      `. Form ${visible(journals[0].form)}, ${number(journals.length)} of ${number(journals[0].shards)} shards, `,
      `${number(totals.inputs)} inputs, ${number(totals.outputs)} outputs, ${number(totals.bytes)} bytes. `,
      `Pictures: ${visible(pictures.choice)}; ${number(pictures.drawn)} drawn, ${number(pictures.refused)} could not be. `);
    if (pictures.sample)
      byId("about").append(`The sample is ${number(pictures.sample)} of ${number(pictures["sampled from"])} inputs with outputs, ` +
                           `drawn with the seed ${pictures.seed}. `);
    if (pictures.rows)
      byId("about").append(element("a", { href: addressOf({ pictures: "yes" }) }, "Rows with pictures"));
    const damaged = sum(journals, "damaged");
    if (damaged) notice(`The journals have ${number(damaged)} lines that cannot be read. What they say is not in this report.`);
    const missing = journals[0].shards - journals.length;
    if (missing > 0) notice(`${number(missing)} of ${number(journals[0].shards)} shards have no journal: they have not run.`);
    if (totals.anonymous)
      notice("Names, IDs, texts and labels are left out. What is burned into the pixels of an image is not: look at the " +
             "pictures before you pass them on.");
  }

  function fillSelects() {
    const choices = { outcome: Object.keys(OUTCOMES), kind: totals.kinds.map((kind) => kind.name),
                      reason: totals.reasons.map((reason) => reason.name) };
    for (const [name, values] of Object.entries(choices))
      form().elements[name].append(element("option", { value: "" }, "all"),
                                   ...values.map((value) => element("option", { value }, visible(value))));
  }

  function goTo(filters, page) {
    location.hash = addressOf(filters, page);
  }

  function takeFilters() {
    const given = new FormData(form());
    goTo(Object.fromEntries(FILTERS.map((name) => [name, (given.get(name) || "").trim()])));
  }

  async function printAll() {
    await Promise.all([...document.querySelectorAll("[data-details]")].map(fill));
    const images = [...document.images];
    for (const image of images) image.loading = "eager";
    await Promise.all(images.map((image) => image.decode().catch(() => null)));
    print();
  }

  function onKey(event) {
    if (event.ctrlKey || event.altKey || event.metaKey || event.target.closest("input, select, button")) return;
    const rows = [...document.querySelectorAll(".row")];
    const at = rows.indexOf(document.activeElement?.closest(".row"));
    const actions = {
      j: () => rows[Math.min(at + 1, rows.length - 1)]?.focus(),
      k: () => rows[Math.max(at - 1, 0)]?.focus(),
      n: () => document.querySelector("[rel=next]")?.click(),
      p: () => document.querySelector("[rel=prev]")?.click(),
      "/": () => form().elements.text.focus(),
    };
    if (!actions[event.key]) return;
    event.preventDefault();
    actions[event.key]();
  }

  function begin() {
    starts = totals.parts.map((part, place) => sum(totals.parts.slice(0, place), "rows"));
    showAbout();
    showTotals();
    fillSelects();
    form().addEventListener("change", takeFilters);
    form().addEventListener("submit", (event) => { event.preventDefault(); takeFilters(); });
    form().addEventListener("reset", (event) => { event.preventDefault(); goTo({}); });
    byId("print").addEventListener("click", printAll);
    document.querySelector(".skip").addEventListener("click", (event) => { event.preventDefault(); byId("rows").focus(); });
    document.addEventListener("keydown", onKey);
    addEventListener("hashchange", () => show().then(() => byId("result").scrollIntoView({ block: "nearest" })));
    show();
  }

  addEventListener("load", () => { if (!totals) byId("result").textContent = "data/totals.js cannot be loaded."; });

  return {
    totals: (version, json) => { totals = JSON.parse(json); begin(); },
    rows: (place, json) => parts.set(place, JSON.parse(json)),
    details: (row, json) => details.set(row, JSON.parse(json)),
  };
})();
