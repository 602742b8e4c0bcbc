#!/usr/bin/env node
// SPDX-License-Identifier: Apache-2.0
//
// amf2json FILE: prints the file as JSON.
import { readFile, writeFile } from "node:fs/promises";
import { parseArgs } from "node:util";
import { Amf2JsonError, exportJson, importJson, version } from "./index.js";

const usage = `usage: amf2json [OPTION...] FILE
Prints a packet, AMF values, a shared object (.sol) or the script tags of an FLV file as JSON.
  --import OUT     the other way: reads JSON from FILE, writes its bytes to OUT
  --as FORM        packet, amf0, amf3, sol or flv; looked at unless set
  --compact        one line
  --salvage        keep sections that cannot be read as raw bytes
  --no-originals   leave out the bytes of odd sections
  --version, --help
`;

function fail(text, status) {
  process.stderr.write(text);
  process.exit(status);
}

function commandLine() {
  try {
    return parseArgs({
      allowPositionals: true,
      options: {
        import: { type: "string" },
        as: { type: "string" },
        compact: { type: "boolean" },
        salvage: { type: "boolean" },
        "no-originals": { type: "boolean" },
        version: { type: "boolean" },
        help: { type: "boolean" },
      },
    });
  } catch (error) {
    return fail(`amf2json: ${error.message}\n${usage}`, 2);
  }
}

const { values, positionals } = commandLine();
if (values.help) {
  process.stdout.write(usage);
} else if (values.version) {
  process.stdout.write(`amf2json ${version}\n`);
} else if (positionals.length !== 1) {
  fail(usage, 2);
} else {
  await convert(positionals[0]).catch((error) => {
    if (!(error instanceof Amf2JsonError) && !error.syscall) throw error;
    const place = error.line ? `${error.line}:${error.column}:` : error.offset === undefined ? "" : `${error.offset}:`;
    fail(`${positionals[0]}:${place} ${error.message}${error.path ? ` (${error.path})` : ""}\n`, 1);
  });
}

async function convert(file) {
  if (values.import !== undefined) {
    return writeFile(values.import, importJson(await readFile(file, "utf8")));
  }
  const { as, compact, salvage } = values;
  const exported = exportJson(await readFile(file), { as, compact, salvage, originals: !values["no-originals"] });
  for (const warning of exported.warnings) process.stderr.write(`${file}: ${warning}\n`);
  process.stdout.write(exported.json + "\n");
}
