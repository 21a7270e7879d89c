// A real `clipcat serve` on a temporary catalog, for the page's tests: made with `clipcat init`,
// served on a free loopback port, stopped with SIGTERM and removed afterwards.
import { spawn, execFileSync } from "node:child_process";
import { mkdtempSync, rmSync, writeFileSync } from "node:fs";
import { tmpdir } from "node:os";
import { join } from "node:path";

export class ClipcatServer {
  // REQUIRES: `binary` is the built clipcat.
  constructor(binary) {
    this.binary = binary;
    this.dir = mkdtempSync(join(tmpdir(), "clipcat-web-"));
    this.catalog = join(this.dir, "catalog.db");
    this.log = "";
    execFileSync(binary, ["--catalog", this.catalog, "init"], { stdio: "pipe" });
  }

  // Runs a clipcat command on the served catalog (to check what the page did, or to prepare).
  run(...args) {
    return execFileSync(this.binary, ["--catalog", this.catalog, ...args], { encoding: "utf8" });
  }

  // Starts serving; resolves to the page's address once the server says where it listens.
  // `token` makes it require a bearer token, as off loopback.
  start(token) {
    const args = ["--catalog", this.catalog, "serve", "--listen", "127.0.0.1:0"];
    if (token) {
      const file = join(this.dir, "token");
      writeFileSync(file, token + "\n");
      args.push("--token-file", file);
    }
    this.process = spawn(this.binary, args, { stdio: ["ignore", "ignore", "pipe"] });
    // A test that ends early must not leave a server behind (nor keep node waiting for it).
    const orphan = () => this.process.kill("SIGKILL");
    process.on("exit", orphan);
    this.process.on("exit", () => process.off("exit", orphan));
    this.exited = new Promise((resolve) => this.process.on("exit", (code) => resolve(code)));
    return new Promise((resolve, reject) => {
      this.process.stderr.setEncoding("utf8");
      this.process.stderr.on("data", (chunk) => {
        this.log += chunk;
        const listening = /listening on (\S+):(\d+)/.exec(this.log);
        if (listening && !this.url) {
          this.url = `http://${listening[1]}:${listening[2]}`;
          resolve(this.url);
        }
      });
      this.exited.then((code) => reject(new Error(`clipcat serve ended (${code}):\n${this.log}`)));
    });
  }

  // Stops the server as Ctrl-C would and removes the catalog; resolves to the exit status.
  async stop() {
    let code = null;
    if (this.process && this.process.exitCode === null) {
      this.process.kill("SIGTERM");
      code = await this.exited;
    }
    rmSync(this.dir, { recursive: true, force: true });
    return code;
  }
}
