// How are elements of a page found and made?
export function byId(id) {
  return document.getElementById(id);
}

export function make(tag, text, name) {
  const element = document.createElement(tag);
  element.textContent = text || "";                          // never markup: names of files may hold anything
  if (name) {
    element.className = name;
  }
  return element;
}

export function makeToggle(text) {
  const button = make("button", text);
  button.type = "button";
  button.setAttribute("aria-pressed", "false");
  return button;
}

export function pictureAddress(jpeg) {
  return "data:image/jpeg;base64," + jpeg;
}
