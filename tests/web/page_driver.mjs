// What the page's tests do with a page: open it in a fresh browser context, answer its dialogs,
// find controls by what a person sees (a button's label, a heading), and read the server's API
// to check what a step really changed.
import assert from "node:assert/strict";

// Generous: under a loaded CI machine or a sanitizer build the server and the browser are slow.
const kWait = { timeout: 10000 };

// A page on `server`'s address, `width` x `height`, with the clipboard allowed. Dialogs
// (confirm, prompt) take the next of `dialogs.answers`: true accepts, a string is typed in,
// false or nothing left dismisses; every message is kept in `dialogs.seen`. `answers` are the
// answers to the dialogs the page opens as it starts; `at` is where it opens ("#/folder/2"). Uncaught errors of
// the page's script are kept in `errors`.
export async function openPage(browser, server,
                                { width = 1024, height = 700, answers = [], at = "" } = {}) {
  const context = await browser.createBrowserContext();
  await context.overridePermissions(server.url,
                                    ["clipboard-read", "clipboard-write", "clipboard-sanitized-write"]);
  const page = await context.newPage();
  await page.setViewport({ width, height });
  const dialogs = { answers: [...answers], seen: [] };
  page.on("dialog", async (dialog) => {
    dialogs.seen.push(dialog.message());
    const answer = dialogs.answers.shift();
    if (answer === undefined || answer === false) await dialog.dismiss();
    else await dialog.accept(answer === true ? undefined : answer);
  });
  const errors = [];
  page.on("pageerror", (error) => errors.push(error.message));
  await page.goto(server.url + "/" + at, { waitUntil: "load" });
  return { page, context, dialogs, errors };
}

// The main area's heading once it reads `text`.
export async function waitForHeading(page, text) {
  try {
    await page.waitForFunction(
      (expected) => document.querySelector("#main h1")?.textContent === expected, kWait, text);
  } catch {
    const shown = await page.$eval("#main", (main) => main.innerText).catch(() => "(nothing)");
    assert.fail(`the page never showed the heading "${text}"; it shows:\n${shown}`);
  }
}

// Waits until an element matching `selector` (and visible) has exactly `text`; returns it.
export async function waitForElement(page, selector, text) {
  try {
    const handle = await page.waitForFunction(
      (selector, text) => [...document.querySelectorAll(selector)].find(
        (node) => node.offsetParent !== null &&
                  (text === undefined || node.textContent.trim() === text)),
      kWait, selector, text);
    return handle.asElement();
  } catch {
    const found = await page.$$eval(selector, (nodes) => nodes.map((node) => node.textContent));
    assert.fail(`no visible ${selector} "${text}" on the page; there are: ${JSON.stringify(found)}`);
  }
}

export function button(page, label) {
  return waitForElement(page, "button", label);
}

// Waits until the page has opened `count` dialogs in all.
export async function waitForDialogs(dialogs, count) {
  for (const start = Date.now(); Date.now() - start < kWait.timeout;) {
    if (dialogs.seen.length >= count) break;
    await new Promise((resolve) => setTimeout(resolve, 25));
  }
  assert.equal(dialogs.seen.length, count, `dialogs: ${JSON.stringify(dialogs.seen)}`);
}

// Waits for the status line to say `text` (part of it).
export async function waitForStatus(page, text) {
  try {
    await page.waitForFunction(
      (text) => document.getElementById("status").textContent.includes(text), kWait, text);
  } catch {
    const said = await page.$eval("#status", (status) => status.textContent);
    assert.fail(`the status line never said "${text}"; it says "${said}"`);
  }
}

// What has the keyboard's focus: its tag, id, text (or value) and the list it is in.
export function focused(page) {
  return page.evaluate(() => {
    const node = document.activeElement;
    return {
      tag: node.tagName.toLowerCase(),
      id: node.id,
      text: "value" in node && node.tagName !== "BUTTON" ? node.value : node.textContent.trim(),
      list: node.closest("#tree") ? "tree" : node.closest("#history") ? "history"
          : node.closest("#main ul.list") ? "main" : "",
    };
  });
}

// Presses `key` (`times` times) and waits until the focus is on what `expected` describes: some of
// the fields focused() answers.
export async function press(page, key, expected, times = 1) {
  // "Shift+Tab": the keys before the last are held down while it is pressed.
  const keys = key.split("+");
  for (let i = 0; i < times; ++i) {
    for (const held of keys.slice(0, -1)) await page.keyboard.down(held);
    await page.keyboard.press(keys[keys.length - 1]);
    for (const held of keys.slice(0, -1).reverse()) await page.keyboard.up(held);
  }
  let now;
  for (const start = Date.now(); Date.now() - start < kWait.timeout;) {
    now = await focused(page);
    if (Object.entries(expected).every(([name, value]) => now[name] === value)) return;
    await new Promise((resolve) => setTimeout(resolve, 25));
  }
  assert.deepEqual(now, { ...now, ...expected }, `the focus after ${key}`);
}

// The links of a list on the page, as their text.
export function linkTexts(page, selector) {
  return page.$$eval(selector + " a", (links) => links.map((link) => link.textContent.trim()));
}

// The server's JSON API, to prepare a catalog and to check what the page changed.
export async function api(server, method, path, body) {
  const response = await fetch(server.url + path, {
    method,
    headers: { "Content-Type": "application/json", ...(server.token ? { Authorization: "Bearer " + server.token } : {}) },
    body: body === undefined ? (method === "POST" ? "{}" : undefined) : JSON.stringify(body),
  });
  const text = await response.text();
  return { status: response.status, body: text ? JSON.parse(text) : null };
}

export async function apiOk(server, method, path, body) {
  const answer = await api(server, method, path, body);
  assert.ok(answer.status < 300, `${method} ${path}: ${answer.status} ${JSON.stringify(answer.body)}`);
  return answer.body;
}
