// The clipcat page: the folder tree with linked catalogs, search as you type, a clipping's text
// with a Copy button, and the everyday changes, all through the JSON API of the same server.
"use strict";

const state = {
  token: sessionStorage.getItem("clipcat-token") || "",
  declined: false,  // the person would not give the token: the page stops asking
  folders: [],
  routes: 0,  // how many views were asked for
  beforeSearch: "",  // where the person was when they began to search, for Escape
};

// ---- The API ----

class ApiError extends Error {
  constructor(status, error) {
    super(error ? error.description : "HTTP " + status);
    this.status = status;
    this.number = error ? error.number : 0;
  }
}

// Asks for the token once, however many calls the server refused at the same time: a call that
// was refused with a token that has since been replaced only tries again. True when there is a
// new token to try.
function askForToken(refused) {
  if (state.token !== refused) return true;
  if (state.declined) return false;
  const token = window.prompt(refused ? "The server refused that token. Its access token:"
                                      : "This catalog needs its access token:");
  if (!token || !token.trim()) {
    state.declined = true;
    return false;
  }
  state.token = token.trim();
  sessionStorage.setItem("clipcat-token", state.token);
  return true;
}

async function api(method, path, body) {
  const headers = {};
  const token = state.token;
  if (token) headers.Authorization = "Bearer " + token;
  const init = { method, headers };
  if (body !== undefined || method === "POST" || method === "PATCH") {
    headers["Content-Type"] = "application/json";
    init.body = JSON.stringify(body === undefined ? {} : body);
  }
  const response = await fetch(path, init);
  if (response.status === 401 && askForToken(token)) return api(method, path, body);
  if (response.status === 204) return null;
  const data = await response.json().catch(() => null);
  if (!response.ok) throw new ApiError(response.status, data && data.error);
  return data;
}

// ---- Small DOM helpers (text only: nothing from the catalog is ever read as HTML) ----

function el(tag, attributes, ...children) {
  const node = document.createElement(tag);
  for (const [name, value] of Object.entries(attributes || {})) {
    if (name.startsWith("on")) node.addEventListener(name.slice(2), value);
    else if (value !== undefined && value !== null && value !== false) node.setAttribute(name, value);
  }
  for (const child of children.flat()) {
    if (child !== null && child !== undefined) node.append(child);
  }
  return node;
}

// Replaces what the main area shows. Focus that was in it (a result or a button the person
// chose) stays in the main area instead of falling back to the top of the page, so that the next
// Tab reaches the new view's first control.
function show(...nodes) {
  const main = document.getElementById("main");
  const hadFocus = main.contains(document.activeElement);
  main.replaceChildren(...nodes.flat().filter((node) => node !== null && node !== undefined));
  for (const list of main.querySelectorAll("ul.list")) setTabStop(list);
  if (hadFocus) main.focus();
}

// ---- Keyboard: arrow keys within a list of links ----

// Only one link of each list (the tree, the history, a list of results) is in the Tab order, so
// that Tab steps over a list in one go; the arrow keys, Home and End move within it. The stop is
// the current folder where the list shows it, else the first link.
function setTabStop(list, stop) {
  const links = [...list.querySelectorAll("a")];
  stop = stop || links.find((link) => link.getAttribute("aria-current")) || links[0];
  for (const link of links) link.tabIndex = link === stop ? 0 : -1;
}

function moveInList(event) {
  const link = event.target.closest("a");
  const list = link && event.target.closest("#tree, #history, ul.list");
  if (!list || event.altKey || event.ctrlKey || event.metaKey) return;
  const links = [...list.querySelectorAll("a")];
  const at = links.indexOf(link);
  let next = null;
  if (event.key === "ArrowDown") next = links[at + 1];
  else if (event.key === "ArrowUp") {
    next = links[at - 1];
    // Above the first result is the search box that found them.
    if (!next && list.closest("#main") && location.hash.startsWith("#/search/")) {
      event.preventDefault();
      document.getElementById("search").focus();
      return;
    }
  } else if (event.key === "Home") next = links[0];
  else if (event.key === "End") next = links[links.length - 1];
  else return;
  event.preventDefault();
  if (!next) return;
  setTabStop(list, next);
  next.focus();
}

let statusTimer = 0;
function say(text, isError) {
  const status = document.getElementById("status");
  status.textContent = text;
  status.className = "status shown" + (isError ? " error" : "");
  clearTimeout(statusTimer);
  statusTimer = setTimeout(() => (status.className = "status"), isError ? 6000 : 2500);
}

function fail(error) {
  say(error.message || String(error), true);
}

function go(hash) {
  if (location.hash === hash) route();
  else location.hash = hash;
}

// ---- The folder tree and the history ----

function folderItem(folder, current) {
  const label = folder.name + (folder.online ? "" : " (offline)");
  const link = el("a", {
    href: "#/folder/" + folder.id,
    class: [folder.linked ? "linked" : "", folder.online ? "" : "offline"].join(" ").trim() || null,
    "aria-current": folder.id === current ? "page" : null,
  }, label);
  const children = folder.children && folder.children.length
    ? el("ul", {}, folder.children.map((child) => folderItem(child, current))) : null;
  return el("li", {}, link, children);
}

function flatten(folders, path, out) {
  for (const folder of folders) {
    const name = path ? path + " / " + folder.name : folder.name;
    if (folder.online) out.push({ id: folder.id, name });
    flatten(folder.children || [], name, out);
  }
  return out;
}

async function loadTree(current) {
  try {
    state.folders = await api("GET", "/api/folders");
    const tree = document.getElementById("tree");
    const hadFocus = tree.contains(document.activeElement);
    tree.replaceChildren(...state.folders.map((f) => folderItem(f, current)));
    setTabStop(tree);
    if (hadFocus) tree.querySelector("a[tabindex='0']")?.focus();
  } catch (error) {
    fail(error);
  }
}

async function loadHistory() {
  try {
    const used = await api("GET", "/api/history?max=10");
    const list = document.getElementById("history");
    list.replaceChildren(...used.map((clipping) =>
      el("li", {}, el("a", { href: "#/clipping/" + clipping.id }, clipping.name))));
    setTabStop(list);
  } catch (error) {
    fail(error);
  }
}

// ---- Views ----

// A snippet marks what matched in brackets ("Thanks for the [quick] answer"): shown highlighted,
// as text.
function snippet(text) {
  return el("span", { class: "snippet" }, text.split(/\[([^\]]*)\]/).map((part, i) =>
    i % 2 ? el("mark", {}, part) : part));
}

// A folder path as the API gives it ("Personal\\Mail"), the way the tree reads.
function shownPath(path) {
  return (path || "").split("\\").join(" / ");
}

function clippingList(clippings, withSnippet) {
  if (!clippings.length) return el("p", { class: "muted" }, "No clippings.");
  return el("ul", { class: "list" }, clippings.map((clipping) => el("li", {},
    el("a", { href: "#/clipping/" + clipping.id },
      el("strong", {}, clipping.name),
      clipping.path ? el("span", { class: "muted" }, "  " + shownPath(clipping.path)) : null,
      withSnippet && clipping.snippet ? snippet(clipping.snippet) : null))));
}

async function folderView(id, isCurrent) {
  // The tree knows which linked catalogs do not answer; the folder that links one is empty.
  const top = state.folders.find((folder) => folder.id === id);
  if (top && !top.online) {
    return show(el("h1", {}, top.name),
      el("p", {}, "The catalog linked here does not answer (offline). Its clippings show again " +
                  "once it can be reached."));
  }
  const [folder, clippings] = await Promise.all([
    api("GET", "/api/folders/" + id), api("GET", "/api/folders/" + id + "/clippings")]);
  if (!isCurrent()) return;
  show(
    el("h1", {}, folder.name),
    el("p", { class: "muted" }, shownPath(folder.path)),
    el("div", { class: "actions" },
      el("button", { class: "primary", onclick: () => clippingForm(null, folder.id) }, "New clipping"),
      el("button", { onclick: () => folderForm(folder.id) }, "New folder"),
      el("button", { onclick: () => renameFolder(folder) }, "Rename"),
      // A catalog's top folder and a linked catalog are never deleted.
      top ? null : el("button", { class: "danger", onclick: () => deleteFolder(folder) }, "Delete")),
    folder.children.length ? el("ul", { class: "list" }, folder.children.map((child) =>
      el("li", {}, el("a", { href: "#/folder/" + child.id }, "\u{1F4C1} " + child.name)))) : null,
    clippingList(clippings, false));
}

async function clippingView(id, isCurrent) {
  const clipping = await api("GET", "/api/clippings/" + id);
  if (!isCurrent()) return clipping.folder;
  const texts = clipping.items.filter((item) => item.text !== null);
  const text = texts.length ? texts[0].text : "";
  const tagInput = el("input", { type: "text", class: "tag", "aria-label": "Add a category",
                                 placeholder: "Add a category" });
  show(
    el("h1", {}, clipping.name),
    el("p", { class: "muted" },
      [clipping.description, shownPath(clipping.path)].filter(Boolean).join(" \u2014 ")),
    el("div", { class: "actions" },
      el("button", { class: "primary", onclick: () => copy(clipping, text) }, "Copy"),
      el("button", { onclick: () => clippingForm(clipping, clipping.folder) }, "Edit"),
      el("button", { onclick: () => moveClipping(clipping) }, "Move"),
      el("button", { class: "danger", onclick: () => deleteClipping(clipping) }, "Delete")),
    el("div", { class: "chips", "aria-label": "Categories" },
      clipping.categories.map((category) => el("span", { class: "chip" }, category.name,
        el("button", { "aria-label": "Remove category " + category.name,
                       onclick: () => untag(clipping, category.name) }, "\u00D7"))),
      el("form", { onsubmit: (event) => { event.preventDefault(); tag(clipping, tagInput.value); } },
        tagInput)),
    texts.map((item) => el("section", {},
      el("h2", { class: "item-type" }, item.typename),
      el("pre", { class: "content", tabindex: "0" }, item.text))),
    clipping.items.length > texts.length
      ? el("p", { class: "muted" }, "Other data items are not shown as text.") : null);
  return clipping.folder;
}

// The search that is made while a person types: the word being typed finds the longer words it
// begins ("qui" finds "quick"), unless it is a phrase still open, already a prefix, or an operator.
function asYouType(query) {
  const words = query.trimEnd().split(/\s+/);
  const last = words[words.length - 1];
  const openQuote = (query.match(/"/g) || []).length % 2 === 1;
  if (query !== query.trimEnd() || openQuote || last === "OR" || !/[\p{L}\p{N}]$/u.test(last)) {
    return query;
  }
  return query + "*";
}

async function searchView(query) {
  const input = document.getElementById("search");
  if (input.value !== query) input.value = query;
  if (!query.trim()) return show(el("p", { class: "muted" }, "Type to search."));
  try {
    const found = await api("GET", "/api/search?q=" + encodeURIComponent(asYouType(query)) +
                                   "&limit=30");
    if (input.value !== query) return;  // a newer search is on its way
    show(el("h1", {}, "Search"), clippingList(found, true));
  } catch (error) {
    if (error.status === 400) show(el("p", { class: "muted" }, error.message));
    else fail(error);
  }
}

// ---- Actions ----

async function copy(clipping, text) {
  try {
    await navigator.clipboard.writeText(text);
    say("Copied \u201C" + clipping.name + "\u201D");
  } catch (error) {
    // Without clipboard access the text is selected for the keyboard's own copy.
    const content = document.querySelector("pre.content");
    if (!content) return fail(error);
    const range = document.createRange();
    range.selectNodeContents(content);
    getSelection().removeAllRanges();
    getSelection().addRange(range);
    content.focus();
    say("Press Ctrl+C to copy");
  }
  api("POST", "/api/clippings/" + clipping.id + "/use").then(loadHistory).catch(fail);
}

function clippingForm(clipping, folder) {
  const firstText = clipping ? (clipping.items.find((item) => item.type === 2) || {}).text : "";
  const name = el("input", { type: "text", required: true, value: clipping ? clipping.name : "" });
  const description = el("input", { type: "text", value: clipping ? clipping.description : "" });
  const text = el("textarea", {});
  text.value = firstText || "";
  const editsText = !clipping || clipping.items.every((item) => item.type === 2);
  show(
    el("h1", {}, clipping ? "Edit " + clipping.name : "New clipping"),
    el("form", { class: "edit", onsubmit: async (event) => {
      event.preventDefault();
      const body = { name: name.value, description: description.value };
      if (editsText) body.text = text.value;
      try {
        const saved = clipping
          ? await api("PATCH", "/api/clippings/" + clipping.id, body)
          : await api("POST", "/api/clippings", Object.assign({ folder }, body));
        say("Saved");
        if (clipping) loadHistory();  // it may show the old name
        go("#/clipping/" + saved.id);
      } catch (error) {
        fail(error);
      }
    } },
      el("label", {}, "Name", name),
      el("label", {}, "Description", description),
      editsText ? el("label", {}, "Text", text)
                : el("p", { class: "muted" }, "Rich text and XML are changed where they were made."),
      el("div", { class: "actions" },
        el("button", { class: "primary", type: "submit" }, "Save"),
        el("button", { type: "button", onclick: () => history.back() }, "Cancel"))));
  name.focus();
}

function folderForm(parent) {
  const name = el("input", { type: "text", required: true });
  show(el("h1", {}, "New folder"),
    el("form", { class: "edit", onsubmit: async (event) => {
      event.preventDefault();
      try {
        const folder = await api("POST", "/api/folders", { parent, name: name.value });
        await loadTree(folder.id);
        go("#/folder/" + folder.id);
      } catch (error) {
        fail(error);
      }
    } },
      el("label", {}, "Name", name),
      el("div", { class: "actions" },
        el("button", { class: "primary", type: "submit" }, "Add"),
        el("button", { type: "button", onclick: () => history.back() }, "Cancel"))));
  name.focus();
}

async function renameFolder(folder) {
  const name = window.prompt("New name of \u201C" + folder.name + "\u201D:", folder.name);
  if (!name || name === folder.name) return;
  try {
    await api("PATCH", "/api/folders/" + folder.id, { name });
    await loadTree(folder.id);
    route();
  } catch (error) {
    fail(error);
  }
}

async function deleteFolder(folder) {
  if (!window.confirm("Delete \u201C" + folder.name + "\u201D with everything in it? It goes to the trash.")) return;
  try {
    await api("DELETE", "/api/folders/" + folder.id);
    await loadTree("");
    go("#/folder/" + folder.parent);
  } catch (error) {
    fail(error);
  }
}

async function deleteClipping(clipping) {
  if (!window.confirm("Delete \u201C" + clipping.name + "\u201D? It goes to the trash.")) return;
  try {
    await api("DELETE", "/api/clippings/" + clipping.id);
    say("Deleted");
    loadHistory();
    go("#/folder/" + clipping.folder);
  } catch (error) {
    fail(error);
  }
}

function moveClipping(clipping) {
  const target = el("select", {}, flatten(state.folders, "", []).map((folder) =>
    el("option", { value: folder.id, selected: folder.id === clipping.folder }, folder.name)));
  show(el("h1", {}, "Move " + clipping.name),
    el("form", { class: "edit", onsubmit: async (event) => {
      event.preventDefault();
      try {
        const moved = await api("PATCH", "/api/clippings/" + clipping.id, { folder: target.value });
        say("Moved");
        go("#/clipping/" + moved.id);
      } catch (error) {
        fail(error);
      }
    } },
      el("label", {}, "To folder", target),
      el("div", { class: "actions" },
        el("button", { class: "primary", type: "submit" }, "Move"),
        el("button", { type: "button", onclick: () => history.back() }, "Cancel"))));
  target.focus();
}

async function tag(clipping, name) {
  if (!name.trim()) return;
  try {
    await api("POST", "/api/clippings/" + clipping.id + "/categories", { name: name.trim() });
    route();
  } catch (error) {
    fail(error);
  }
}

async function untag(clipping, name) {
  try {
    await api("DELETE", "/api/clippings/" + clipping.id + "/categories/" + encodeURIComponent(name));
    route();
  } catch (error) {
    fail(error);
  }
}

// ---- Routing: #/folder/ID, #/clipping/ID, #/search/TEXT ----

// The served catalog's own top folder: linked catalogs are top folders beside it.
function topFolder() {
  const own = state.folders.find((folder) => !folder.linked) || state.folders[0];
  return own ? own.id : "1";
}

// A view whose answers come after a later view began (a click, a search typed) is not shown:
// the answer to `isCurrent` says whether the view begun here is still the latest.
function beginView() {
  const mine = ++state.routes;
  return () => mine === state.routes;
}

async function route() {
  const isCurrent = beginView();
  const [, kind, ...rest] = location.hash.replace(/^#/, "").split("/");
  const argument = decodeURIComponent(rest.join("/"));
  // The tree marks the folder shown ("page") or the folder of the clipping shown ("location").
  let current = "";
  let currentIs = "page";
  try {
    if (kind === "clipping") {
      current = await clippingView(argument, isCurrent);
      currentIs = "location";
    } else if (kind === "search") {
      await searchView(argument);
      return;
    } else {
      current = kind === "folder" ? argument : topFolder();
      await folderView(current, isCurrent);
    }
  } catch (error) {
    if (!isCurrent()) return;
    show(el("p", {}, error.message));
    fail(error);
  }
  if (!isCurrent()) return;
  const search = document.getElementById("search");
  if (document.activeElement !== search) search.value = "";
  const tree = document.getElementById("tree");
  for (const link of tree.querySelectorAll("a")) {
    if (link.getAttribute("href") === "#/folder/" + current) link.setAttribute("aria-current", currentIs);
    else link.removeAttribute("aria-current");
  }
  if (!tree.contains(document.activeElement)) setTabStop(tree);
}

function start() {
  const search = document.getElementById("search");
  let typing = 0;
  search.addEventListener("input", () => {
    beginView();  // what was asked for before the typing is no longer wanted
    clearTimeout(typing);
    typing = setTimeout(() => {
      // One entry in the browser's history for a whole search, so that Back leaves it.
      const hash = "#/search/" + encodeURIComponent(search.value);
      if (location.hash.startsWith("#/search/")) history.replaceState(null, "", hash);
      else {
        state.beforeSearch = location.hash || "#/";
        history.pushState(null, "", hash);
      }
      searchView(search.value);
    }, 150);
  });
  search.addEventListener("keydown", (event) => {
    if (event.key === "Enter" || event.key === "ArrowDown") {
      const first = document.querySelector("#main ul.list a");
      if (first) {
        event.preventDefault();
        first.focus();
      }
    }
    if (event.key === "Escape") {
      // Back to where the search began.
      clearTimeout(typing);
      search.value = "";
      document.getElementById("main").focus();
      if (location.hash.startsWith("#/search/")) go(state.beforeSearch || "#/");
    }
  });
  document.addEventListener("keydown", moveInList);
  document.addEventListener("keydown", (event) => {
    const typingInField = /^(INPUT|TEXTAREA|SELECT)$/.test(document.activeElement.tagName);
    if (event.key === "/" && !typingInField) {
      event.preventDefault();
      search.focus();
    }
  });
  const menu = document.getElementById("menu");
  menu.addEventListener("click", () => {
    const open = document.getElementById("side").classList.toggle("open");
    menu.setAttribute("aria-expanded", String(open));
  });
  // Escape folds the folders away again (on a narrow window), back to the button that opened them.
  document.getElementById("side").addEventListener("keydown", (event) => {
    const side = event.currentTarget;
    if (event.key !== "Escape" || !side.classList.contains("open")) return;
    side.classList.remove("open");
    menu.setAttribute("aria-expanded", "false");
    menu.focus();
  });
  window.addEventListener("hashchange", () => {
    // On a narrow window the folders fold away once one is chosen; the focus goes with the view.
    const side = document.getElementById("side");
    if (side.classList.contains("open") && side.contains(document.activeElement)) {
      document.getElementById("main").focus();
    }
    side.classList.remove("open");
    menu.setAttribute("aria-expanded", "false");
    route();
  });
  loadTree("").then(route);
  loadHistory();
}

start();
