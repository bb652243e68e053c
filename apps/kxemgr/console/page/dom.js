// Making elements. Text from agents goes through here, and is text: nothing is ever parsed as markup.

export const byId = (id) => document.getElementById(id);

// element("td", {className: "number"}, "12 %", anotherElement)
export function element(name, properties, ...children) {
  const made = document.createElement(name);
  for (const [key, value] of Object.entries(properties ?? {})) {
    if (key === "data") {
      Object.assign(made.dataset, value);
    } else {
      made[key] = value;
    }
  }
  made.append(...children);
  return made;
}

// Sets a text only where it differs, so that what is selected or read aloud is not disturbed.
export function setText(node, text) {
  if (node.textContent !== text) {
    node.textContent = text;
  }
}

export function setNote(node, text) {
  setText(node, text);
  node.hidden = text === "";
}

// For those who do not see the page: only what they would want to be interrupted for.
export function announce(text) {
  byId("announcements").textContent = text;
}

// A table cell that knows its column's name, which narrow screens show beside it.
export const cell = (label, className, ...children) =>
  element("td", {className, data: {label}}, ...children);

export const none = () => element("span", {className: "none"}, "none");
