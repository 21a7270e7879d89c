// The page of `clipcat serve`, used as a person uses it: in Debian's chromium through
// puppeteer-core, with the mouse and with the keyboard alone, on a wide and on a narrow window,
// against a real server on a temporary catalog. Run by run.mjs (CTest's Web.Page).
import assert from "node:assert/strict";
import { join } from "node:path";
import { after, afterEach, before, describe, it } from "node:test";
import puppeteer from "puppeteer-core";

import { ClipcatServer } from "./clipcat_server.mjs";
import {
  api, apiOk, button, focused, linkTexts, openPage, press, waitForElement, waitForHeading,
  waitForDialogs, waitForStatus,
} from "./page_driver.mjs";

const binary = process.env.CLIPCAT_BINARY;
// Where the screenshot of the page goes (docs/web-page.png when it is made for the docs).
const screenshot = process.env.CLIPCAT_SCREENSHOT || join(process.cwd(), "web-page.png");

let browser;
const servers = [];
const pages = [];

before(async () => {
  browser = await puppeteer.launch({
    executablePath: process.env.CLIPCAT_CHROMIUM,
    headless: true,
    // CI runs as root, where chromium's sandbox cannot start; containers have a small /dev/shm.
    args: ["--no-sandbox", "--disable-dev-shm-usage"],
  });
});

after(async () => {
  await browser?.close();
});

// A server of its own for each test, stopped afterwards; it must stop cleanly.
async function startServer(token) {
  const server = new ClipcatServer(binary);
  servers.push(server);
  await server.start(token);
  server.token = token;
  return server;
}

async function open(server, size) {
  const opened = await openPage(browser, server, size);
  pages.push(opened);
  return opened;
}

afterEach(async () => {
  const errors = [];
  for (const opened of pages.splice(0)) {
    await opened.context.close();
    errors.push(...opened.errors);
  }
  const stops = [];
  for (const server of servers.splice(0)) {
    const served = Boolean(server.process);
    const code = await server.stop();
    if (served && code !== 0) stops.push(`exit status ${code}:\n${server.log}`);
  }
  assert.deepEqual(errors, [], "the page's script raised errors");
  assert.deepEqual(stops, [], "clipcat serve did not stop cleanly");
});

async function topFolder(server) {
  return (await apiOk(server, "GET", "/api/folders")).find((folder) => !folder.linked);
}

async function clippingsOf(server, folder) {
  return apiOk(server, "GET", `/api/folders/${folder}/clippings`);
}

async function textOf(server, id) {
  return (await apiOk(server, "GET", `/api/clippings/${id}`)).items[0].text;
}

// A catalog as a person's would look: folders with a few clippings.
async function fill(server) {
  const top = await topFolder(server);
  const mail = await apiOk(server, "POST", "/api/folders", { parent: top.id, name: "Mail" });
  const notes = await apiOk(server, "POST", "/api/folders", { parent: top.id, name: "Notes" });
  const made = {};
  for (const [folder, name, text] of [
    [mail, "Greeting", "Dear Ms Winter,\n\nthank you for your letter of 3 March."],
    [mail, "Thanks", "Thank you very much for the quick answer."],
    [mail, "Signature", "Kind regards\nAnna Berg\nHarbour Street 12"],
    [notes, "Meeting room", "Room 4.12, second floor, code 4711"],
  ]) {
    made[name] = await apiOk(server, "POST", "/api/clippings", { folder: folder.id, name, text });
  }
  return { top, mail, notes, clippings: made };
}

describe("the page with the mouse", () => {
  it("makes a folder and a clipping, finds it as you type, copies, renames and deletes it",
     async () => {
    const server = await startServer();
    const top = await topFolder(server);
    const { page, dialogs } = await open(server);
    await waitForHeading(page, top.name);

    await (await button(page, "New folder")).click();
    await waitForHeading(page, "New folder");
    await page.keyboard.type("Mail");  // the name field has the focus
    await page.keyboard.press("Enter");
    await waitForHeading(page, "Mail");
    const mail = (await apiOk(server, "GET", `/api/folders/${top.id}`)).children
      .find((folder) => folder.name === "Mail");
    assert.ok(mail, "the folder is in the catalog");
    assert.equal(await page.evaluate(() => location.hash), `#/folder/${mail.id}`);
    const current = await waitForElement(page, "#tree a[aria-current='page']", "Mail");
    assert.ok(current, "the tree shows the new folder as the current one");

    await (await button(page, "New clipping")).click();
    await waitForHeading(page, "New clipping");
    const text = "Thanks for your quick answer.\nBest regards, Anna";
    await page.keyboard.type("Reply");
    await page.click("::-p-aria([name='Description'][role='textbox'])");
    await page.keyboard.type("Short thanks");
    await page.click("::-p-aria([name='Text'][role='textbox'])");
    await page.keyboard.type(text);
    await (await button(page, "Save")).click();
    await waitForHeading(page, "Reply");
    assert.equal(await page.$eval("pre.content", (pre) => pre.textContent), text);
    const [saved] = await clippingsOf(server, mail.id);
    assert.equal(saved.name, "Reply");
    assert.equal(saved.description, "Short thanks");
    assert.equal(await textOf(server, saved.id), text);

    // Found while typing, without Enter.
    await page.click("#search");
    await page.keyboard.type("quick", { delay: 30 });
    await waitForHeading(page, "Search");
    const result = await waitForElement(page, "#main ul.list a strong", "Reply");
    assert.equal(await page.evaluate(() => location.hash), "#/search/quick");
    await result.click();
    await waitForHeading(page, "Reply");
    assert.equal(await page.$eval("#search", (input) => input.value), "",
                 "the search box is cleared once a result is open");

    await (await button(page, "Copy")).click();
    await waitForStatus(page, "Copied");
    assert.equal(await page.evaluate(() => navigator.clipboard.readText()), text);
    // A copy is a use: the history shows it, on the page and in the catalog.
    await waitForElement(page, "#history a", "Reply");
    const used = await apiOk(server, "GET", "/api/history");
    assert.deepEqual(used.map((clipping) => clipping.id), [saved.id]);

    await (await button(page, "Edit")).click();
    await waitForHeading(page, "Edit Reply");
    assert.deepEqual(await focused(page), { tag: "input", id: "", text: "Reply", list: "" });
    await page.keyboard.down("Control");
    await page.keyboard.press("a");
    await page.keyboard.up("Control");
    await page.keyboard.type("Quick reply");
    await (await button(page, "Save")).click();
    await waitForHeading(page, "Quick reply");
    const renamed = await apiOk(server, "GET", `/api/clippings/${saved.id}`);
    assert.equal(renamed.name, "Quick reply");
    assert.equal(renamed.items[0].text, text, "renaming keeps the text");
    await waitForElement(page, "#history a", "Quick reply");

    // Deleting asks first; saying no keeps it.
    dialogs.answers.push(false);
    await (await button(page, "Delete")).click();
    await waitForDialogs(dialogs, 1);
    assert.match(dialogs.seen[0], /Quick reply/);
    assert.equal((await clippingsOf(server, mail.id)).length, 1);
    dialogs.answers.push(true);
    await (await button(page, "Delete")).click();
    await waitForHeading(page, "Mail");
    await waitForElement(page, "#main p", "No clippings.");
    assert.deepEqual(await clippingsOf(server, mail.id), []);
    const trash = await apiOk(server, "GET", "/api/trash");
    assert.ok(JSON.stringify(trash).includes("Quick reply"), "the clipping went to the trash");
  });

  it("tags and moves a clipping, renames and deletes a folder", async () => {
    const server = await startServer();
    const { top, mail, notes, clippings } = await fill(server);
    const greeting = clippings.Greeting;
    const { page, dialogs } = await open(server, { at: `#/clipping/${greeting.id}` });
    await waitForHeading(page, "Greeting");

    await page.click("::-p-aria([name='Add a category'])");
    await page.keyboard.type("Letters\n");
    await waitForElement(page, ".chip", "Letters×");
    const categories = async () => (await apiOk(server, "GET", `/api/clippings/${greeting.id}`))
      .categories.map((category) => category.name);
    assert.deepEqual(await categories(), ["Letters"]);
    await page.click("::-p-aria(Remove category Letters)");
    await page.waitForFunction(() => !document.querySelector(".chip"));
    assert.deepEqual(await categories(), []);

    await (await button(page, "Move")).click();
    await waitForHeading(page, "Move Greeting");
    const options = await page.$$eval("select option", (all) => all.map((o) => o.textContent));
    assert.deepEqual(options, [top.name, `${top.name} / Mail`, `${top.name} / Notes`]);
    await page.select("select", notes.id);
    await (await button(page, "Move")).click();
    await waitForHeading(page, "Greeting");
    await waitForElement(page, "#tree a[aria-current='location']", "Notes");
    assert.deepEqual((await clippingsOf(server, notes.id)).map((c) => c.name),
                     ["Greeting", "Meeting room"].sort());
    assert.equal((await clippingsOf(server, mail.id)).length, 2);

    await (await waitForElement(page, "#tree a", "Notes")).click();
    await waitForHeading(page, "Notes");
    dialogs.answers.push("Meetings");
    await (await button(page, "Rename")).click();
    await waitForHeading(page, "Meetings");
    await waitForElement(page, "#tree a[aria-current='page']", "Meetings");
    assert.equal((await apiOk(server, "GET", `/api/folders/${notes.id}`)).name, "Meetings");

    dialogs.answers.push(true);
    await (await button(page, "Delete")).click();
    await waitForHeading(page, top.name);
    assert.deepEqual(await linkTexts(page, "#tree"), [top.name, "Mail"]);
    assert.deepEqual((await apiOk(server, "GET", `/api/folders/${top.id}`)).children
      .map((folder) => folder.name), ["Mail"]);
    assert.equal(dialogs.seen.length, 2);
  });

  it("keeps what was typed when the server refuses it, and says why", async () => {
    const server = await startServer();
    const { mail } = await fill(server);
    const { page } = await open(server, { at: `#/folder/${mail.id}` });
    await waitForHeading(page, "Mail");
    await (await button(page, "New clipping")).click();
    await waitForHeading(page, "New clipping");
    await page.keyboard.type("Thanks");
    await page.click("::-p-aria([name='Text'][role='textbox'])");
    await page.keyboard.type("A second text");
    await (await button(page, "Save")).click();
    await waitForStatus(page, "already in use");
    assert.equal(await page.$eval("#status", (status) => status.className), "status shown error");
    await waitForHeading(page, "New clipping");
    assert.equal(await page.$eval("textarea", (area) => area.value), "A second text");
    assert.equal((await clippingsOf(server, mail.id)).length, 3, "nothing was added");

    await page.click("::-p-aria([name='Name'][role='textbox'])", { count: 3 });
    await page.keyboard.type("Thanks again");
    await (await button(page, "Save")).click();
    await waitForHeading(page, "Thanks again");
    assert.equal((await clippingsOf(server, mail.id)).length, 4);
  });

  it("shows linked catalogs in the tree, an offline one as offline", async () => {
    const team = new ClipcatServer(binary);
    servers.push(team);
    team.run("add", "1", "Team greeting", "--text", "Hello from the whole team");
    const server = await startServer();
    const details = (path) => `<connectiondetails datasourcetype="1" ` +
      `connectionstring="Provider=Microsoft.Jet.OLEDB.4.0;Data Source=${path}"/>`;
    server.run("link", "Team", "--connection", details(team.catalog));
    // A catalog that is not there is linked only when told to store the link anyway.
    server.run("link", "Archive", "--offline", "--connection", details(join(server.dir, "gone.db")));
    const { page } = await open(server);
    const linked = await waitForElement(page, "#tree a.linked", "Team");
    const offline = await waitForElement(page, "#tree a.offline", "Archive (offline)");
    assert.ok(offline);

    await linked.click();
    await waitForHeading(page, "Team");
    await (await waitForElement(page, "#main ul.list a strong", "Team greeting")).click();
    await waitForHeading(page, "Team greeting");
    assert.equal(await page.$eval("pre.content", (pre) => pre.textContent),
                 "Hello from the whole team");

    await page.click("#search");
    await page.keyboard.type("whole team");
    await waitForElement(page, "#main ul.list a strong", "Team greeting");

    // An offline catalog says so instead of showing an empty folder, and offers nothing to add.
    await (await waitForElement(page, "#tree a.offline")).click();
    await waitForHeading(page, "Archive");
    assert.match(await page.$eval("#main", (main) => main.textContent), /does not answer/);
    assert.equal(await page.$$eval("#main button", (buttons) => buttons.length), 0);
    // Neither a catalog's top folder nor a linked one offers Delete (the library refuses it).
    await linked.click();
    await waitForHeading(page, "Team");
    await button(page, "Rename");
    assert.deepEqual(await page.$$eval("#main button", (buttons) =>
      buttons.map((b) => b.textContent)), ["New clipping", "New folder", "Rename"]);
  });
});

describe("the page with the keyboard alone", () => {
  it("searches, walks the results with the arrow keys, opens and copies one", async () => {
    const server = await startServer();
    const { clippings } = await fill(server);
    const { page } = await open(server);
    await waitForElement(page, "#tree a", "Mail");

    await press(page, "/", { tag: "input", id: "search" });
    await page.keyboard.type("thank");
    await waitForHeading(page, "Search");
    const found = await linkTexts(page, "#main ul.list");
    assert.equal(found.length, 2, `two clippings say "thank": ${found}`);
    await press(page, "ArrowDown", { list: "main", text: found[0] });
    await press(page, "ArrowDown", { list: "main", text: found[1] });
    await press(page, "ArrowDown", { list: "main", text: found[1] });  // the last stays
    await press(page, "ArrowUp", { list: "main", text: found[0] });
    await press(page, "ArrowUp", { tag: "input", id: "search" });
    await press(page, "Enter", { list: "main", text: found[0] });
    const name = await page.$eval("#main ul.list a strong", (strong) => strong.textContent);
    await page.keyboard.press("Enter");
    await waitForHeading(page, name);
    // The next Tab goes to the clipping's first action, not to the top of the page.
    await press(page, "Tab", { tag: "button", text: "Copy" });
    await page.keyboard.press("Enter");
    await waitForStatus(page, "Copied");
    assert.equal(await page.evaluate(() => navigator.clipboard.readText()),
                 await textOf(server, clippings[name].id));

    // Escape leaves a search for where it began.
    await press(page, "/", { id: "search" });
    await page.keyboard.type("nothing like this");
    await waitForElement(page, "#main p", "No clippings.");
    await page.keyboard.press("Escape");
    await waitForHeading(page, name);
    assert.equal(await page.$eval("#search", (input) => input.value), "");
  });

  it("walks the folder tree with the arrow keys and Tab, and adds a clipping", async () => {
    const server = await startServer();
    const { top, mail } = await fill(server);
    const { page } = await open(server);
    await waitForHeading(page, top.name);
    await waitForElement(page, "#tree a", "Notes");

    // The tree is one stop for Tab: the current folder; arrows move within it.
    await press(page, "/", { id: "search" });
    await press(page, "Tab", { list: "tree", text: top.name });
    await press(page, "ArrowDown", { list: "tree", text: "Mail" });
    await press(page, "ArrowDown", { list: "tree", text: "Notes" });
    await page.keyboard.press("Enter");
    await waitForHeading(page, "Notes");
    await press(page, "ArrowUp", { list: "tree", text: "Mail" });
    await page.keyboard.press("Enter");
    await waitForHeading(page, "Mail");
    await press(page, "Home", { list: "tree", text: top.name });
    await press(page, "End", { list: "tree", text: "Notes" });
    await press(page, "ArrowUp", { list: "tree", text: "Mail" });
    // Past the tree (and the empty history) to the folder's actions.
    await press(page, "Tab", { tag: "button", text: "New clipping" });
    await press(page, "Tab", { tag: "button", text: "Delete" }, 3);
    // The folder's clippings are one stop too.
    await press(page, "Tab", { list: "main", text: "Greeting" });
    await press(page, "ArrowDown", { list: "main", text: "Signature" });
    await press(page, "Shift+Tab", { tag: "button", text: "Delete" });
    await press(page, "Tab", { list: "main", text: "Signature" });
    await page.keyboard.press("Enter");
    await waitForHeading(page, "Signature");

    // A new clipping, typed in and saved without the mouse.
    await page.goBack();
    await waitForHeading(page, "Mail");
    await press(page, "Tab", { text: "New clipping" });
    await page.keyboard.press("Enter");
    await waitForHeading(page, "New clipping");
    await page.keyboard.type("Address");
    await press(page, "Tab", { tag: "input" });  // the description
    await press(page, "Tab", { tag: "textarea" });
    await page.keyboard.type("Harbour Street 12\n20457 Hamburg");
    await press(page, "Tab", { tag: "button", text: "Save" });
    await page.keyboard.press("Enter");
    await waitForHeading(page, "Address");
    const added = (await clippingsOf(server, mail.id)).find((c) => c.name === "Address");
    assert.ok(added, "the clipping is in the catalog");
    assert.equal(await textOf(server, added.id), "Harbour Street 12\n20457 Hamburg");
  });
});

describe("the page on a narrow window", () => {
  it("folds the folders under a button and never scrolls sideways", async () => {
    const server = await startServer();
    const { mail } = await fill(server);
    const long = "A-clipping-name-without-any-space-that-is-far-wider-than-a-phone";
    await apiOk(server, "POST", "/api/clippings",
                { folder: mail.id, name: long, text: "word".repeat(120) + "\n" + "x ".repeat(300) });
    const { page } = await open(server, { width: 400, height: 780 });
    const sideways = () => page.evaluate(() =>
      document.documentElement.scrollWidth - document.documentElement.clientWidth);

    await waitForElement(page, "#main h1");
    assert.equal(await page.$eval("#side", (side) => side.offsetParent === null), true,
                 "the folders are folded away");
    assert.equal(await sideways(), 0);
    const menu = await button(page, "Folders");
    await menu.click();
    assert.equal(await page.$eval("#menu", (menu) => menu.getAttribute("aria-expanded")), "true");
    await (await waitForElement(page, "#tree a", "Mail")).click();
    await waitForHeading(page, "Mail");
    assert.equal(await page.$eval("#side", (side) => side.offsetParent === null), true,
                 "choosing a folder folds them away again");

    await (await waitForElement(page, "#main ul.list a strong", long)).click();
    await waitForHeading(page, long);
    assert.equal(await sideways(), 0, "a long name and text wrap");
    const copy = await (await button(page, "Copy")).boundingBox();
    assert.ok(copy.x >= 0 && copy.x + copy.width <= 400, "the Copy button is on the screen");
    await (await button(page, "Copy")).click();
    await waitForStatus(page, "Copied");

    // The same with the keyboard: the button, into the tree, a folder, then the folder's actions.
    await page.goto(`${server.url}/#/folder/${mail.id}`);
    await waitForHeading(page, "Mail");
    await press(page, "/", { id: "search" });
    await press(page, "Tab", { id: "menu" });
    await page.keyboard.press("Enter");
    await press(page, "Tab", { list: "tree", text: "Mail" });
    await press(page, "Escape", { id: "menu" });  // folds them away, back on the button
    assert.equal(await page.$eval("#side", (side) => side.offsetParent === null), true);
    await page.keyboard.press("Enter");
    await press(page, "Tab", { list: "tree", text: "Mail" });
    await press(page, "ArrowDown", { list: "tree", text: "Notes" });
    await page.keyboard.press("Enter");
    await waitForHeading(page, "Notes");
    assert.equal((await focused(page)).id, "main", "the focus follows the folded folders");
    await press(page, "Tab", { tag: "button", text: "New clipping" });
    assert.equal(await sideways(), 0);

    await page.click("#search");
    await page.keyboard.type("room");
    await (await waitForElement(page, "#main ul.list a strong", "Meeting room")).click();
    await waitForHeading(page, "Meeting room");
    assert.equal(await sideways(), 0);
  });
});

describe("the page of a server with a token", () => {
  it("asks for the token once, again when it is wrong, and then works", async () => {
    const server = await startServer("k7-web-page-token");
    await apiOk(server, "POST", "/api/clippings",
                { folder: (await topFolder(server)).id, name: "Secret", text: "s" });
    const top = await topFolder(server);
    // The page starts with several calls at once: one question for all of them, and one more
    // after a wrong answer.
    const { page, dialogs } = await open(server,
                                         { answers: ["wrong-token", "k7-web-page-token"] });
    await waitForHeading(page, top.name);
    await waitForElement(page, "#main ul.list a strong", "Secret");
    assert.equal(dialogs.seen.length, 2, `asked: ${JSON.stringify(dialogs.seen)}`);
    assert.match(dialogs.seen[0], /needs its access token/);
    assert.match(dialogs.seen[1], /refused/);
    // The token is kept for the tab: a reload asks nothing.
    await page.reload({ waitUntil: "load" });
    await waitForElement(page, "#main ul.list a strong", "Secret");
    assert.equal(dialogs.seen.length, 2);
  });
});

describe("the page for the docs", () => {
  it("shows a clipping in its folder, with the tree, a linked catalog and the history", async () => {
    const team = new ClipcatServer(binary);
    servers.push(team);
    team.run("mkdir", "1", "Support");
    const server = await startServer();
    server.run("link", "Team", "--connection", `<connectiondetails datasourcetype="1" ` +
               `connectionstring="Provider=Microsoft.Jet.OLEDB.4.0;Data Source=${team.catalog}"/>`);
    const { mail, clippings } = await fill(server);
    await apiOk(server, "POST", `/api/clippings/${clippings.Signature.id}/use`);
    await apiOk(server, "POST", `/api/clippings/${clippings.Greeting.id}/categories`,
                { name: "Letters" });
    const { page } = await open(server,
                                { width: 1100, height: 640, at: `#/clipping/${clippings.Greeting.id}` });
    await waitForHeading(page, "Greeting");
    await waitForElement(page, "#history a", "Signature");
    await waitForElement(page, ".chip", "Letters×");
    const top = await topFolder(server);
    assert.deepEqual(await linkTexts(page, "#tree"), [top.name, "Mail", "Notes", "Team", "Support"]);
    // The clipping's folder is marked in the tree, its path shown as the tree reads.
    await waitForElement(page, "#tree a[aria-current='location']", "Mail");
    assert.equal(await page.$eval("#main p.muted", (p) => p.textContent), `${top.name} / Mail`);
    assert.equal(mail.name, "Mail");
    await page.screenshot({ path: screenshot });
  });
});
