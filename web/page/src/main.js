// SPDX-License-Identifier: Apache-2.0
//
// The page's script: starts app.js with the worker and the module that script/page put into the page.
import { start } from "./app.js";

const content = (id) => document.getElementById(id).textContent;

start(content("worker-script"), content("module-gzip-base64").trim());
