// The inventory tabs of the system information page, rendered from the machine's
// "inventory" when their tab is clicked (a tab shows nothing before). Only one tab's
// content exists at a time, so each tab numbers its DataTables from 0, as the console does.
//
// Faults (window.SIM_FAULTS):
//   late: {"tabFan": 1.5}          the tab's tables fill that many seconds after the click
//   second_click: ["tabMemory"]    the tab's tables fill only from its second click on
//   no_port_detail: true           a port row's toggle opens no detail row
//   missing_tab_once: {"tabOther": "t1"}
//                                  the tab is absent from this page until one page without
//                                  it has been open for a while (a reader's failed lookup)
//                                  and left; then present. The text names the occasion, so
//                                  the same fault can be set again with another text.
(function () {
  "use strict";
  var m = window.MACHINE || {}, inv = m.inventory || {}, faults = window.SIM_FAULTS || {};
  var clicks = {}, tableSeq = 0, generation = 0;
  var PANES = {tabFan: "paneFan", tabPower: "panePower", tabProcess: "paneProcess", tabMemory: "paneMemory",
               tabCard: "paneCard", tabOther: "paneOther", tabSystem: "paneSystem"};

  function el(tag, attrs, text) {
    var e = document.createElement(tag);
    Object.keys(attrs || {}).forEach(function (k) { e.setAttribute(k, attrs[k]); });
    if (text !== undefined && text !== null) e.textContent = text;
    return e;
  }
  function add(parent, tag, attrs, text) { var e = el(tag, attrs, text); parent.appendChild(e); return e; }

  // A plain DataTable: header labels, and one row per record of cells, each cell given
  // as {text, title}; its id is the tab's next DataTables number.
  function plainTable(parent, labels, rows) {
    var t = add(parent, "table", {id: "DataTables_Table_" + (tableSeq++), "class": "grid dataTable"});
    var hr = add(add(t, "thead"), "tr");
    labels.forEach(function (l) { add(hr, "th", {}, l); });
    var body = add(t, "tbody");
    rows.forEach(function (cells) {
      var tr = add(body, "tr");
      cells.forEach(function (c) { add(tr, "td", c.title === undefined ? {} : {tdtitle: c.title}, c.text); });
    });
    return t;
  }

  function byColumns(columns, records) {
    return records.map(function (r) {
      return columns.map(function (c) { return {text: r[c] === undefined ? "" : r[c], title: c}; });
    });
  }

  var FAN_COLUMNS = ["Name", "Model", "Speed (RPM)", "Speed Ratio (%)", "BOM Code"];
  var POWER_COLUMNS = ["Slot", "Manufacturer", "Type", "Serial Number", "Firmware Version", "Rated Power",
                       "Input Mode", "BOM Code"];
  var MEMORY_COLUMNS = ["Name", "Location", "Manufacturer", "Capacity", "Clock Speed", "SN", "Type",
                        "Minimum Voltage", "Rank Qty", "Bit Width", "Technology"];

  function renderFans(pane) {
    plainTable(pane, FAN_COLUMNS, byColumns(FAN_COLUMNS, inv.fans || []));
  }

  function renderPower(pane) {
    plainTable(pane, POWER_COLUMNS, byColumns(POWER_COLUMNS, (inv.power || {}).supplies || []));
  }

  // The memory table: "Part Number" only where the scenario's table has it, the BOM
  // code's title as the scenario writes it (the console's has a trailing blank).
  function renderMemory(pane) {
    var mem = inv.memory || {}, columns = MEMORY_COLUMNS.slice();
    if (mem.part_number !== false) columns.push("Part Number");
    var bomTitle = mem.bom_title === undefined ? "BOM Code " : mem.bom_title;
    var rows = (mem.modules || []).map(function (mod) {
      var cells = columns.map(function (c) { return {text: mod[c] === undefined ? "" : mod[c], title: c}; });
      cells.push({text: mod["BOM Code"] === undefined ? "" : mod["BOM Code"], title: bomTitle});
      return cells;
    });
    plainTable(pane, columns.concat([bomTitle.trim()]), rows);
  }

  // One block per processor: a table of label and value rows.
  function renderProcessors(pane) {
    var box = add(pane, "div", {id: "cpupermutation"});
    (inv.processors || []).forEach(function (cpu) {
      var tbody = add(add(add(box, "div", {"class": "monitor"}), "div"), "table", {"class": "grid"});
      tbody = add(tbody, "tbody");
      Object.keys(cpu).forEach(function (label) {
        var tr = add(tbody, "tr");
        add(tr, "td", {}, label);
        add(add(tr, "td"), "span", {}, cpu[label]);
      });
    });
  }

  // tabOther: the list otherTableid, one entry per kind of board. An entry's table sits
  // in a scrolling DataTables wrapper (header and body in separate tables); each
  // component is one table body. An entry without components has no table.
  function renderOther(pane) {
    var list = add(add(pane, "div", {id: "otherTableid"}), "ul");
    (inv.other || []).forEach(function (entry) {
      var components = entry.components || [];
      var attrs = {name: entry.name !== undefined ? entry.name : entry.title + "(" + components.length + ")"};
      if (entry.id) attrs.id = entry.id;
      var li = add(list, "li", attrs);
      add(li, "div", {"class": "entryTitle"}, entry.title);
      var content = add(li, "div", {"class": "entryContent"});
      if (!components.length && !entry.always_table) return;
      var box = add(content, "div", entry.box_id ? {id: entry.box_id} : {});
      var inner = add(box, "div");
      add(inner, "div", {"class": "tableCaption"}, entry.title);
      var scroll = add(add(inner, "div", {"class": "dataTables_wrapper"}), "div", {"class": "dataTables_scroll"});
      var headRow = add(add(add(add(scroll, "div", {"class": "dataTables_scrollHead"}), "div",
                                {"class": "dataTables_scrollHeadInner"}), "table", {"class": "dataTable"}), "thead");
      headRow = add(headRow, "tr");
      (entry.columns || []).forEach(function (label) { add(add(add(headRow, "th"), "div"), "label", {}, label); });
      var table = add(add(scroll, "div", {"class": "dataTables_scrollBody"}), "table",
                      {id: "DataTables_Table_" + (tableSeq++), "class": "dataTable"});
      components.forEach(function (component) {
        // A component is one row of cells, or {"rows": [...]} for a body of several rows.
        var rows = Array.isArray(component) ? [component] : component.rows;
        var body = add(table, "tbody");
        rows.forEach(function (cells) {
          var tr = add(body, "tr");
          cells.forEach(function (c) { add(tr, "td", {}, c); });
        });
      });
    });
  }

  // tabCard: the card tree (first branch open, the others load when their title is
  // clicked), the property list and the port table of the selected card.
  function renderCards(pane) {
    var branches = (inv.cards || {}).branches || [];
    var row = add(add(add(pane, "table", {"class": "cardLayout"}), "tbody"), "tr");
    var tree = add(add(row, "td", {id: "CardTreeL"}), "ul");
    var right = add(row, "td", {id: "CardTreeR"});
    var props = add(right, "div", {id: "cardTable"});
    var ports = add(right, "div", {id: "cardPortTable"});
    branches.forEach(function (branch, b) {
      var li = add(tree, "li");
      var title = add(li, "span", {}, branch.name);
      var cards = add(li, "ul");
      var loaded = false;
      function load() {
        if (loaded) return;
        loaded = true;
        (branch.cards || []).forEach(function (card) {
          var a = add(add(cards, "li"), "a", {}, card.label);
          a.onclick = function () { selectCard(props, ports, branch, card); };
        });
      }
      title.onclick = load;  // opens the branch; a second click leaves it open
      if (b === 0) load();
    });
    var first = branches.length && (branches[0].cards || [])[0];
    if (first) selectCard(props, ports, branches[0], first);
  }

  function selectCard(props, ports, branch, card) {
    props.innerHTML = "";
    var ul = add(props, "ul");
    (card.properties || []).forEach(function (p) {
      var li = add(ul, "li");
      add(li, "span", {}, p[0]);
      add(li, "p", {}, p[1]);
    });
    ports.innerHTML = "";
    var columns = branch.port_columns || ["Port", "Status", "Port Type", "Media type"];
    var wrap = add(ports, "div");
    var head = add(add(add(add(wrap, "div", {"class": "tiny-table-head"}), "table"), "thead"), "tr");
    add(head, "th", {}, "");
    columns.forEach(function (c) { add(head, "th", {}, c); });
    var tbody = add(add(add(wrap, "div", {"class": "tiny-table-body"}), "table"), "tbody");
    (card.ports || []).forEach(function (port) {
      var tr = add(tbody, "tr", {"class": "tiny-table-row"});
      var toggle = add(add(tr, "td"), "div", {"class": "tiny-table-toggle"}, "+");
      columns.forEach(function (c) { add(tr, "td", {tdtitle: c}, port[c] === undefined ? "" : port[c]); });
      toggle.onclick = function () { togglePort(tr, columns.length + 1, port); };
    });
  }

  // A port's detail row opens right below it and closes on the second click.
  function togglePort(tr, span, port) {
    var next = tr.nextElementSibling;
    if (next && next.className === "tiny-table-detail-row") { next.parentNode.removeChild(next); return; }
    if (faults.no_port_detail) return;
    var detail = el("tr", {"class": "tiny-table-detail-row"});
    var td = add(detail, "td", {colspan: span});
    add(td, "div", {"class": "detailSpacer"});
    var holder = add(td, "div");
    var tbody = add(add(add(add(add(add(holder, "div"), "div"), "div"), "div"), "table"), "tbody");
    (port.details || []).forEach(function (d) {
      var r = add(tbody, "tr");
      add(add(r, "td"), "span", {}, d[0]);
      add(add(r, "td"), "span", {}, d[1]);
    });
    tr.parentNode.insertBefore(detail, tr.nextSibling);
  }

  // tabSystem's pane is the page's own (showSystemPane in system_info.html).
  var RENDER = {tabSystem: function (pane, m) { showSystemPane(m); }, tabFan: renderFans, tabPower: renderPower,
                tabProcess: renderProcessors, tabMemory: renderMemory, tabCard: renderCards, tabOther: renderOther};

  // A click on another tab hides every `.tab` pane (the storage pane too), empties the
  // inventory panes and shows the clicked tab's pane; its tables fill at once, late, or
  // only from the second click, as the faults say. A click on the open tab changes
  // nothing once its tables are filled or on their way.
  var activeTab = null, fill = "none", pending = null;  // fill: none | pending | filled
  function showTab(tabId) {
    clicks[tabId] = (clicks[tabId] || 0) + 1;
    var pane = document.getElementById(PANES[tabId]);
    // Another script (the storage tab's) may have hidden the pane: then it starts afresh.
    var open = tabId === activeTab && pane.style.display === "block";
    if (open && fill !== "none") return;
    if (!open) {
      Array.prototype.forEach.call(document.querySelectorAll(".tab"), function (p) { p.style.display = "none"; });
      Array.prototype.forEach.call(document.querySelectorAll(".tabs span"), function (s) {
        s.className = s.id === tabId ? "active" : "";
      });
      generation++;
      if (pending) pending.cancel();
      pending = null;
      Object.keys(RENDER).forEach(function (t) {
        if (t !== "tabSystem") document.getElementById(PANES[t]).innerHTML = "";
      });
      activeTab = tabId;
      fill = "none";
      pane.style.display = "block";
    }
    if ((faults.second_click || []).indexOf(tabId) >= 0 && clicks[tabId] < 2) return;
    tableSeq = 0;
    var late = (faults.late || {})[tabId], mine = generation;
    fill = "pending";
    // The tab's data is asked for now (or late, as the fault says); its tables fill when
    // the data is in (console.js whenData), only if no other tab took the page meanwhile.
    function ask() {
      if (mine !== generation) return;
      pending = whenData(tabId, function (machine) {
        if (mine !== generation) return;
        tableSeq = 0;
        RENDER[tabId](pane, machine);
        fill = "filled";
      });
    }
    if (late) setTimeout(ask, parseFloat(late) * 1000);
    else ask();
  }

  // A tab missing until a page without it has been looked at and left: a reader's
  // second opening of the page (page retry) finds it, a second click on the same page
  // (tab retry) does not. Kept in sessionStorage, which the frame's loads share.
  var loadedAt = Date.now(), withheld = [];
  Object.keys(faults.missing_tab_once || {}).forEach(function (tabId) {
    var key = "sim.missing_tab_once." + tabId + "." + faults.missing_tab_once[tabId];
    if (window.sessionStorage.getItem(key)) return;
    var tab = document.getElementById(tabId);
    if (tab) tab.parentNode.removeChild(tab);
    withheld.push(key);
  });
  if (withheld.length) {
    window.addEventListener("pagehide", function () {
      // A page the driver replaced at once (a repeated menu click) does not count.
      if (Date.now() - loadedAt < 200) return;
      withheld.forEach(function (key) { window.sessionStorage.setItem(key, "seen"); });
    });
  }

  // A click on the console's menu replaces this page: from that moment it offers nothing,
  // so a driver that looks into the frame at once waits for the new page instead of
  // clicking a tab of the old one.
  function leaving(event) {
    var t = event.target;
    if (t && t.closest && t.closest('[id^="menu_"]')) document.body.innerHTML = "";
  }
  try {
    if (window.parent !== window) {
      window.parent.document.addEventListener("click", leaving, true);
      window.addEventListener("pagehide", function () {
        try { window.parent.document.removeEventListener("click", leaving, true); } catch (e) { /* top gone */ }
      });
    }
  } catch (e) { /* not framed by the console */ }

  Object.keys(PANES).forEach(function (tabId) {
    var tab = document.getElementById(tabId);
    if (tab) tab.addEventListener("click", function () { showTab(tabId); });
  });
  // Clicks on a tab while this script was still on its way are answered now, in order.
  (window.SIM_EARLY_CLICKS || []).forEach(function (target) {
    Object.keys(PANES).forEach(function (tabId) {
      var tab = document.getElementById(tabId);
      if (tab && tab.contains(target)) showTab(tabId);
    });
  });
})();
