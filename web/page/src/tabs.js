// SPDX-License-Identifier: Apache-2.0
//
// A tablist: arrows, Home and End move between the tabs, of which one can be reached by Tab.
// Tested by test/page.test.mjs.

export class Tabs extends EventTarget {
  // Dispatches "change" with { name }, the id of the tab without "tab-".
  constructor(element) {
    super();
    this.tabs = [...element.querySelectorAll("[role=tab]")];
    element.addEventListener("click", (event) => {
      const tab = event.target.closest("[role=tab]");
      if (tab) this.show(nameOf(tab));
    });
    element.addEventListener("keydown", (event) => this.key(event));
    this.show(nameOf(this.tabs[0]));
  }

  show(name) {
    for (const tab of this.tabs) {
      const isShown = nameOf(tab) === name;
      tab.setAttribute("aria-selected", isShown);
      tab.tabIndex = isShown ? 0 : -1;
      document.getElementById(tab.getAttribute("aria-controls")).hidden = !isShown;
    }
    this.name = name;
    this.dispatchEvent(new CustomEvent("change", { detail: { name } }));
  }

  key(event) {
    const at = this.tabs.findIndex((tab) => nameOf(tab) === this.name);
    const count = this.tabs.length;
    const targets = { ArrowRight: (at + 1) % count, ArrowLeft: (at + count - 1) % count, Home: 0, End: count - 1 };
    if (!(event.key in targets)) return;
    event.preventDefault();
    const tab = this.tabs[targets[event.key]];
    this.show(nameOf(tab));
    tab.focus();
  }
}

const nameOf = (tab) => tab.id.replace("tab-", "");
