// The clipcat page: the folder tree with linked catalogs, search as you type, a clipping's text
// with a Copy button, and the everyday changes, all through the JSON API of the same server.
"use strict";

const state = { token: sessionStorage.getItem("clipcat-token") || "", folders: [] };

// ---- The API ----

class ApiError extends Error {
  constructor(status, error) {
    super(error ? error.description : "HTTP " + status);
    this.status = status;
    this.number = error ? error.number : 0;
  }
}

async function api(method, path, body) {
  const headers = {};
  if (state.token) headers.Authorization = "Bearer " + state.token;
  const init = { method, headers };
  if (body !== undefined || method === "POST" || method === "PATCH") {
    headers["Content-Type"] = "application/json";
    init.body = JSON.stringify(body === undefined ? {} : body);
  }
  const response = await fetch(path, init);
  if (response.status === 401) {
    const token = window.prompt("This catalog needs its access token:");
    if (token) {
      state.token = token.trim();
      sessionStorage.setItem("clipcat-token", state.token);
      return api(method, path, body);
    }
  }
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

function show(...nodes) {
  const main = document.getElementById("main");
  main.replaceChildren(...nodes.flat().filter((node) => node !== null && node !== undefined));
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
    document.getElementById("tree").replaceChildren(...state.folders.map((f) => folderItem(f, current)));
  } catch (error) {
    fail(error);
  }
}

async function loadHistory() {
  try {
    const used = await api("GET", "/api/history?max=10");
    document.getElementById("history").replaceChildren(...used.map((clipping) =>
      el("li", {}, el("a", { href: "#/clipping/" + clipping.id }, clipping.name))));
  } catch (error) {
    fail(error);
  }
}

// ---- Views ----

function clippingList(clippings, withSnippet) {
  if (!clippings.length) return el("p", { class: "muted" }, "No clippings.");
  return el("ul", { class: "list" }, clippings.map((clipping) => el("li", {},
    el("a", { href: "#/clipping/" + clipping.id },
      el("strong", {}, clipping.name),
      clipping.path ? el("span", { class: "muted" }, "  " + clipping.path) : null,
      withSnippet && clipping.snippet ? el("span", { class: "snippet" }, clipping.snippet) : null))));
}

async function folderView(id) {
  const [folder, clippings] = await Promise.all([
    api("GET", "/api/folders/" + id), api("GET", "/api/folders/" + id + "/clippings")]);
  show(
    el("h1", {}, folder.name),
    el("p", { class: "muted" }, folder.path || ""),
    el("div", { class: "actions" },
      el("button", { class: "primary", onclick: () => clippingForm(null, folder.id) }, "New clipping"),
      el("button", { onclick: () => folderForm(folder.id) }, "New folder"),
      el("button", { onclick: () => renameFolder(folder) }, "Rename"),
      el("button", { class: "danger", onclick: () => deleteFolder(folder) }, "Delete")),
    folder.children.length ? el("ul", { class: "list" }, folder.children.map((child) =>
      el("li", {}, el("a", { href: "#/folder/" + child.id }, "\u{1F4C1} " + child.name)))) : null,
    clippingList(clippings, false));
}

async function clippingView(id) {
  const clipping = await api("GET", "/api/clippings/" + id);
  const texts = clipping.items.filter((item) => item.text !== null);
  const text = texts.length ? texts[0].text : "";
  const tagInput = el("input", { type: "text", "aria-label": "Add a category", placeholder: "Add a category" });
  show(
    el("h1", {}, clipping.name),
    el("p", { class: "muted" }, [clipping.description, clipping.path].filter(Boolean).join(" \u2014 ")),
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
      el("h2", { class: "muted" }, item.typename),
      el("pre", { class: "content", tabindex: "0" }, item.text))),
    clipping.items.length > texts.length
      ? el("p", { class: "muted" }, "Other data items are not shown as text.") : null);
}

async function searchView(query) {
  const input = document.getElementById("search");
  if (input.value !== query) input.value = query;
  if (!query.trim()) return show(el("p", { class: "muted" }, "Type to search."));
  try {
    const found = await api("GET", "/api/search?q=" + encodeURIComponent(query) + "&limit=30");
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

async function route() {
  const [, kind, ...rest] = location.hash.replace(/^#/, "").split("/");
  const argument = decodeURIComponent(rest.join("/"));
  try {
    if (kind === "clipping") await clippingView(argument);
    else if (kind === "search") await searchView(argument);
    else await folderView(kind === "folder" ? argument : topFolder());
  } catch (error) {
    show(el("p", {}, error.message));
    fail(error);
  }
  if (kind !== "search") {
    const current = kind === "folder" ? argument : "";
    for (const link of document.querySelectorAll("#tree a")) {
      if (link.getAttribute("href") === "#/folder/" + current) link.setAttribute("aria-current", "page");
      else link.removeAttribute("aria-current");
    }
  }
}

function start() {
  const search = document.getElementById("search");
  let typing = 0;
  search.addEventListener("input", () => {
    clearTimeout(typing);
    typing = setTimeout(() => {
      history.replaceState(null, "", "#/search/" + encodeURIComponent(search.value));
      searchView(search.value);
    }, 150);
  });
  search.addEventListener("keydown", (event) => {
    if (event.key === "Enter") document.querySelector("#main a")?.focus();
    if (event.key === "Escape") { search.value = ""; search.blur(); }
  });
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
  window.addEventListener("hashchange", () => {
    document.getElementById("side").classList.remove("open");
    menu.setAttribute("aria-expanded", "false");
    route();
  });
  loadTree("").then(route);
  loadHistory();
}

start();
