// What the page is made of. Texts of the archive become text, never markup.
"use strict";

const elements = (() => {
  /// Failures first: how an outcome is coloured, and what it means.
  const OUTCOMES = {
    crashed: ["bad", "The worker died of it."],
    timeout: ["bad", "It took too long and was given up."],
    failed: ["bad", "The conversion began and met with an error."],
    refused: ["bad", "The conversion could not begin."],
    partly: ["half", "Something does not stand in an output."],
    nothing: ["good", "There is nothing to convert."],
    converted: ["good", "Everything stands in an output."],
  };
  const number = (value) => value.toLocaleString("en");

  /// Controls, also those that turn the direction of what follows, are shown as \uNNNN.
  const visible = (text) =>
    text.replace(/[\u0000-\u001f\u007f-\u009f\u061c\u200e\u200f\u2028-\u202e\u2066-\u2069\ufeff]/g,
                 (control) => "\\u" + control.charCodeAt(0).toString(16).padStart(4, "0"));

  function element(name, attributes, ...content) {
    const made = document.createElement(name);
    for (const [key, value] of Object.entries(attributes)) made.setAttribute(key, value);
    made.append(...content.filter((piece) => piece !== null));
    return made;
  }

  /// A text of the archive: its direction is its own.
  const foreign = (text, attributes = {}) => element("bdi", attributes, visible(text));

  function table(title, heads, rows, foot, wide) {
    return element("div", wide ? { class: "wide" } : {}, element("h2", {}, title), element("table", {},
      element("thead", {}, element("tr", {}, ...heads.map((head) => element("th", { scope: "col" }, head)))),
      element("tbody", {}, ...rows), element("tfoot", {}, foot)));
  }

  const tableRow = (head, ...cells) =>
    element("tr", {}, element("th", { scope: "row" }, ...head), ...cells.map((cell) => element("td", {}, cell)));

  return { OUTCOMES, element, foreign, number, table, tableRow, visible };
})();
