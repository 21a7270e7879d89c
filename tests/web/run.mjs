// Runs the page's tests in a real browser: node run.mjs PATH/TO/clipcat.
// Under CI (the CI environment variable set) a missing browser or puppeteer-core is a failure;
// elsewhere the tests are skipped with what to install (exit status 77, which CTest reports as
// skipped).
import { spawnSync } from "node:child_process";
import { accessSync, constants } from "node:fs";
import { createRequire } from "node:module";
import { dirname, join, resolve } from "node:path";
import { fileURLToPath } from "node:url";

const here = dirname(fileURLToPath(import.meta.url));
const binary = process.argv[2] && resolve(process.argv[2]);
const chromium = process.env.CLIPCAT_CHROMIUM || "/usr/bin/chromium";
const underCi = Boolean(process.env.CI) && process.env.CI !== "false";

function missing() {
  try {
    accessSync(chromium, constants.X_OK);
  } catch {
    return `no browser at ${chromium} (Debian's chromium package)`;
  }
  try {
    createRequire(join(here, "package.json")).resolve("puppeteer-core");
  } catch {
    return `puppeteer-core is not installed in ${here}`;
  }
  return null;
}

if (!binary) {
  console.error("usage: node run.mjs PATH/TO/clipcat");
  process.exit(2);
}
const lack = missing();
if (lack) {
  console.error(`The page's browser tests cannot run: ${lack}. scripts/install-deps installs ` +
                `both.`);
  process.exit(underCi ? 1 : 77);
}

const tests = spawnSync(process.execPath, ["--test", "--test-reporter=spec",
                                           join(here, "page.test.mjs")],
                        { stdio: "inherit", env: { ...process.env, CLIPCAT_BINARY: binary,
                                                   CLIPCAT_CHROMIUM: chromium } });
process.exit(tests.status ?? 1);
