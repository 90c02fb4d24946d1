// The storage tab of the system information page: the storage tree, the detail panes of
// the selected entry, and the configuration panel that creates and deletes logical
// drives. Everything is built from window.MACHINE.storage when the tab is clicked, and
// the panes are filled at once by a click on an entry, as the console does.
(function () {
  "use strict";

  var pane = document.getElementById("paneStorage");
  var tab = document.getElementById("tabStorage");
  if (!pane || !tab) return;

  var css = document.createElement("style");
  css.textContent = [
    "#storageViewId ul { list-style: none; padding-left: 18px; margin: 0; }",
    "#storageViewId li { margin: 2px 0; cursor: pointer; }",
    "#storageViewId li > span { display: inline-block; width: 12px; height: 12px; margin-right: 4px;",
    "  border: 1px solid #999; font-size: 9px; line-height: 12px; text-align: center; }",
    "#storageViewId a { display: inline-block; padding: 1px 4px; }",
    "#storageViewId a.curSelectedNode { background: #dde6f0; }",
    "#storageViewId a > span:first-child { display: inline-block; width: 10px; height: 10px; background: #9ab; margin-right: 4px; }",
    "#storageBody { display: flex; gap: 24px; align-items: flex-start; }",
    "#storagePanes ul { list-style: none; padding: 0; margin: 0 0 8px 0; }",
    "#storagePanes li > span, #storagePanes li > p { display: inline-block; margin: 1px 8px 1px 0; }",
    "#storagePanes li > span { min-width: 220px; color: #555; }",
    "#storageConf { border: 1px solid #ccc; padding: 8px; margin-top: 8px; }",
    "#LDSwitchRaio > div > div { display: inline-block; margin-right: 16px; }",
    "#LDSwitchRaio > div > div > div, #LDDelete span > div { display: inline-block; vertical-align: middle; }",
    ".radioMark { display: inline-block; width: 12px; height: 12px; border: 1px solid #666; border-radius: 7px; }",
    ".radioMark.checked { background: #2a9d8f; }",
    "#LDDelete > span { display: block; margin: 4px 0; }",
    "#LDCreDisks > span { display: inline-block; border: 1px solid #999; padding: 2px 6px; margin: 2px; cursor: pointer; }",
    "#LDCreDisks > span.selected { background: #2a9d8f; color: #fff; }",
    ".levelPanel { position: absolute; z-index: 30; background: #fff; border: 1px solid #888; }",
    ".levelPanel ul { list-style: none; margin: 0; padding: 0; }",
    ".levelPanel li > span { display: block; padding: 2px 12px; cursor: pointer; }"
  ].join("\n");
  document.head.appendChild(css);

  function el(tag, attrs, children) {
    var e = document.createElement(tag);
    Object.keys(attrs || {}).forEach(function (k) {
      if (k === "text") e.textContent = attrs[k];
      else e.setAttribute(k, attrs[k]);
    });
    (children || []).forEach(function (c) { e.appendChild(c); });
    return e;
  }

  function storage() { return (window.MACHINE && window.MACHINE.storage) || {controllers: []}; }
  function diskName(d) { return d.title.split("(")[0]; }
  function isRaidController(c) { return (c.levels || []).length > 0; }

  // ---- the detail panes ----
  // The first two rows of a pane are its head; the readers skip them.
  function headRows(title) {
    return [el("li", {}, [el("b", {text: title})]), el("li", {}, [el("hr")])];
  }
  function row(label, value) {
    return el("li", {}, [el("span", {text: label + ":"}), el("p", {text: value})]);
  }
  function fill(list, rows) {
    list.innerHTML = "";
    rows.forEach(function (r) { list.appendChild(r); });
  }
  function clearPanes() {
    ["RaidController", "OOBSupport", "bbu_info", "HardDisk", "LogicalDrive"].forEach(function (id) {
      var box = document.getElementById(id);
      var list = box.tagName === "UL" ? box : box.querySelector("ul");
      list.innerHTML = "";
      box.style.display = "none";
    });
  }
  function showController(c) {
    clearPanes();
    var box = document.getElementById("RaidController");
    fill(box.querySelector("ul"), headRows("Controller Properties").concat(
      (c.pane || []).map(function (r) { return row(r[0], r[1]); })));
    box.style.display = "block";
    var oob = document.getElementById("OOBSupport");
    fill(oob, (c.oob || []).map(function (r) { return row(r[0], r[1]); }));
    oob.style.display = "block";
    if ((c.bbu || []).length) {
      var bbu = document.getElementById("bbu_info");
      fill(bbu, headRows("BBU").concat(c.bbu.map(function (r) { return row(r[0], r[1]); })));
      bbu.style.display = "block";
    }
  }
  function showDisk(d) {
    clearPanes();
    var rows = headRows("Physical Disk Properties");
    var plain = [["Interface Type", d.interface_type], ["Health Status", d.health_status],
                 ["Manufacturer", d.manufacturer], ["Model", d.model], ["Serial Number", d.serial_number],
                 ["Firmware Version", d.firmware_version], ["Media Type", d.media_type],
                 ["Temperature", d.temperature], ["Firmware State", d.firmware_state]];
    plain.forEach(function (r) { rows.push(row(r[0], r[1])); });
    // A port without an address is hidden by its style, as the console hides it.
    (d.sas_address || []).forEach(function (addr, i) {
      var r = row("SAS Address (" + i + ")", addr);
      if (!addr) r.style.display = "none";
      rows.push(r);
    });
    [["Capacity", d.capacity], ["Capable Speed", d.capable_speed], ["Negotiated Speed", d.negotiated_speed],
     ["Power State", d.power_state], ["Hot Spare State", d.hot_spare_state]].forEach(function (r) {
      rows.push(row(r[0], r[1]));
    });
    // The rebuild row is marked by its class; it is the console's progress widget.
    var progress = row("Rebuild Progress", d.rebuild_progress || "N/A");
    progress.className = "rebuildProgress";
    rows.push(progress);
    var box = document.getElementById("HardDisk");
    fill(box.querySelector("ul"), rows);
    box.style.display = "block";
  }
  function showDrive(ld) {
    clearPanes();
    var box = document.getElementById("LogicalDrive");
    fill(box.querySelector("ul"), headRows("Logical Drive Properties").concat([
      row("Name", ld.name), row("Status", ld.status), row("RAID Level", ld.level), row("Capacity", ld.capacity),
      row("Strip Size", ld.strip_size), row("Current Read Policy", ld.read_policy)]));
    box.style.display = "block";
  }

  // ---- the tree ----
  function entry(title, onSelect, children, folded) {
    var li = el("li");
    var expander = el("span", {text: children ? (folded ? "+" : "-") : ""});
    var link = el("a", {}, [el("span"), el("span", {text: title})]);
    li.appendChild(expander);
    li.appendChild(link);
    var sub = null;
    if (children) {
      sub = el("ul", {}, children);
      if (folded) sub.style.display = "none";
      li.appendChild(sub);
    }
    // One handler per entry; a click deeper down belongs to the deeper entry.
    li.addEventListener("click", function (e) {
      if (e.target.closest("li") !== li) return;
      if (e.target === expander) {
        if (sub) {
          var open = sub.style.display === "none";
          sub.style.display = open ? "" : "none";
          expander.textContent = open ? "-" : "+";
        }
        return;
      }
      var prev = document.querySelector("#storageViewId a.curSelectedNode");
      if (prev) prev.classList.remove("curSelectedNode");
      link.classList.add("curSelectedNode");
      onSelect();
    });
    return li;
  }
  function diskEntry(d) { return entry(d.title, function () { showDisk(d); }); }

  function buildTree() {
    var s = storage(), top = [];
    (s.controllers || []).forEach(function (c) {
      var byName = {};
      (c.disks || []).forEach(function (d) { byName[diskName(d)] = d; });
      var used = {}, children = [];
      (c.logical_drives || []).forEach(function (ld) {
        var disks = (ld.disks || []).filter(function (n) { return byName[n]; }).map(function (n) {
          used[n] = true;
          return diskEntry(byName[n]);
        });
        // A logical drive's disks are folded until its switch is clicked.
        children.push(entry(ld.title, function () { showDrive(ld); }, disks, true));
      });
      (c.disks || []).forEach(function (d) { if (!used[diskName(d)]) children.push(diskEntry(d)); });
      top.push(entry(c.title, function () { showController(c); }, children, false));
    });
    (s.pass_through || []).forEach(function (d) { top.push(diskEntry(d)); });
    (s.others || []).forEach(function (o) { top.push(entry(o.title, clearPanes)); });
    var view = document.getElementById("storageViewId");
    view.innerHTML = "";
    view.appendChild(el("ul", {}, top));
  }

  // ---- the configuration panel ----
  var mode = null, levelPanel = null;

  function target() {
    var cs = storage().controllers || [];
    for (var i = 0; i < cs.length; i++) if (isRaidController(cs[i])) return {index: i, controller: cs[i]};
    return null;
  }
  function unused(c) {
    var used = {};
    (c.logical_drives || []).forEach(function (ld) { (ld.disks || []).forEach(function (n) { used[n] = true; }); });
    return (c.disks || []).filter(function (d) { return !used[diskName(d)]; });
  }
  function radio() {
    // The clickable mark sits four divs deep, as the console's radio widget draws it.
    return el("div", {}, [el("div", {}, [el("div", {}, [el("div", {"class": "radioMark"})])])]);
  }
  function message(text) { document.getElementById("LDCreMsg").textContent = text || ""; }

  function buildSwitch() {
    function choice(label, which) {
      var mark = el("div", {"class": "radioMark"});
      var item = el("div", {}, [el("div", {}, [mark]), el("label", {text: label})]);
      mark.addEventListener("click", function () { setMode(which); });
      return item;
    }
    var sw = document.getElementById("LDSwitchRaio");
    sw.innerHTML = "";
    sw.appendChild(el("div", {}, [choice("Create", "create"), choice("Delete", "delete")]));
  }
  function setMode(which) {
    mode = which;
    var marks = document.querySelectorAll("#LDSwitchRaio .radioMark");
    marks[0].classList.toggle("checked", which === "create");
    marks[1].classList.toggle("checked", which === "delete");
    document.getElementById("LDCreate").style.display = which === "create" ? "block" : "none";
    document.getElementById("LDDelete").style.display = which === "delete" ? "block" : "none";
    hideLevels();
    if (which === "create") buildCreate();
    else buildDelete();
  }
  function buildDelete() {
    var box = document.getElementById("LDDeleteList");
    box.innerHTML = "";
    var t = target();
    if (!t) return;
    (t.controller.logical_drives || []).forEach(function (ld, i) {
      var r = radio();
      var item = el("span", {id: "DelteRadio" + i}, [r, document.createTextNode(" " + ld.title)]);
      item.setAttribute("data-title", ld.title);
      r.querySelector(".radioMark").addEventListener("click", function (e) { e.target.classList.toggle("checked"); });
      box.appendChild(item);
    });
  }
  function buildCreate() {
    document.querySelector("#LDCreName input").value = "";
    document.querySelector("#LDCreLevel input").value = "";
    message("");
    var box = document.getElementById("LDCreDisks");
    box.innerHTML = "";
    var t = target();
    if (!t) return;
    unused(t.controller).forEach(function (d, i) {
      var pick = el("span", {id: "ldisk_arr_" + i, text: diskName(d)});
      pick.setAttribute("data-disk", diskName(d));
      pick.addEventListener("click", function () { pick.classList.toggle("selected"); });
      box.appendChild(pick);
    });
  }

  // The level list opens as a panel of the body, like the other drop-down panels of the
  // page; it takes the thirteenth place among the body's divs, spare (hidden) panels of
  // the other drop-downs standing before it.
  function placeLevelPanel() {
    var body = document.body;
    if (levelPanel && levelPanel.parentNode) levelPanel.parentNode.removeChild(levelPanel);
    if (!levelPanel) levelPanel = el("div", {"class": "levelPanel"}, [el("ul")]);
    var divs = Array.prototype.filter.call(body.children, function (c) { return c.tagName === "DIV"; });
    while (divs.length < 12) {
      var spare = el("div", {"class": "comboSparePanel"});
      spare.style.display = "none";
      body.appendChild(spare);
      divs.push(spare);
    }
    if (divs.length > 12) body.insertBefore(levelPanel, divs[12]);
    else body.appendChild(levelPanel);
  }
  function hideLevels() { if (levelPanel) levelPanel.style.display = "none"; }
  function openLevels(input) {
    var t = target();
    placeLevelPanel();
    var list = levelPanel.querySelector("ul");
    list.innerHTML = "";
    ((t && t.controller.levels) || []).forEach(function (level) {
      var choice = el("span", {text: level});
      choice.addEventListener("click", function () { input.value = level; hideLevels(); });
      list.appendChild(el("li", {}, [choice]));
    });
    var r = input.getBoundingClientRect();
    levelPanel.style.left = (r.left + window.scrollX) + "px";
    levelPanel.style.top = (r.bottom + window.scrollY) + "px";
    levelPanel.style.display = "block";
  }

  function applyAnswer(answer) {
    if (answer && answer.ok && answer.storage) {
      window.MACHINE.storage = answer.storage;
      buildTree();
      if (mode) setMode(mode);
    } else {
      message((answer && answer.message) || "The operation failed.");
    }
  }
  function save() {
    var t = target();
    var name = document.querySelector("#LDCreName input").value;
    var level = document.querySelector("#LDCreLevel input").value;
    var disks = Array.prototype.map.call(document.querySelectorAll("#LDCreDisks > span.selected"),
                                         function (s) { return s.getAttribute("data-disk"); });
    consoleDialog("Create the logical drive " + name + "?", function () {
      return api("POST", "/api/logical_drive_create",
                 {controller: t ? t.index : -1, name: name, level: level, disks: disks}).then(applyAnswer);
    });
  }
  function remove() {
    var t = target();
    var titles = [];
    Array.prototype.forEach.call(document.querySelectorAll("#LDDeleteList > span"), function (s) {
      if (s.querySelector(".radioMark.checked")) titles.push(s.getAttribute("data-title"));
    });
    consoleDialog("Delete the selected logical drives?", function () {
      return api("POST", "/api/logical_drive_delete", {controller: t ? t.index : -1, drives: titles})
        .then(applyAnswer);
    });
  }

  function buildPanel() {
    var conf = el("div", {id: "storageConf"}, [
      el("span", {id: "logicDriveShowId", text: "Logical Drive"}),
      el("div", {id: "LDPane"}, [
        el("div", {id: "LDSwitchRaio"}),
        el("div", {id: "LDCreate"}, [
          el("p", {}, [el("label", {text: "Name "}), el("span", {id: "LDCreName"}, [el("input", {type: "text"})])]),
          el("p", {}, [el("label", {text: "RAID Level "}), el("span", {id: "LDCreLevel"}, [
            el("div", {}, [el("div", {}, [el("input", {type: "text", readonly: "readonly"})])])])]),
          el("p", {text: "Physical disks"}),
          el("div", {id: "LDCreDisks"}),
          el("button", {id: "LDCreatePerSave", type: "button", text: "Save"}),
          el("span", {id: "LDCreMsg"})]),
        el("div", {id: "LDDelete"}, [
          el("div", {id: "LDDeleteList"}),
          el("button", {id: "delBtu", type: "button", text: "Delete"})])])]);
    conf.style.display = "none";
    return conf;
  }

  function build() {
    pane.innerHTML = "";
    mode = null;
    hideLevels();
    var left = el("div", {id: "storageTree"}, [
      el("button", {id: "storageConfBut", type: "button", text: "Storage Configuration"}),
      el("div", {id: "storageViewId"})]);
    var panes = el("div", {id: "storagePanes"}, [
      el("div", {id: "RaidController"}, [el("ul")]),
      el("ul", {id: "OOBSupport"}),
      el("ul", {id: "bbu_info"}),
      el("div", {id: "HardDisk"}, [el("ul")]),
      el("div", {id: "LogicalDrive"}, [el("ul")])]);
    pane.appendChild(el("div", {id: "storageBody"}, [left, panes]));
    pane.appendChild(buildPanel());
    buildTree();
    clearPanes();
    buildSwitch();
    document.getElementById("LDPane").style.display = "none";
    document.getElementById("LDCreate").style.display = "none";
    document.getElementById("LDDelete").style.display = "none";

    document.getElementById("storageConfBut").addEventListener("click", function () {
      document.getElementById("storageConf").style.display = "block";
    });
    document.getElementById("logicDriveShowId").addEventListener("click", function () {
      document.getElementById("LDPane").style.display = "block";
    });
    document.querySelector("#LDCreLevel input").addEventListener("click", function (e) { openLevels(e.target); });
    document.getElementById("LDCreatePerSave").addEventListener("click", save);
    document.getElementById("delBtu").addEventListener("click", remove);
  }

  // The page is on its way out (a menu click loads it again): the storage tab goes
  // first, so that a driver looking for it waits for the new page instead of clicking
  // the tab of the page that is leaving.
  function retire() {
    if (tab.parentNode) tab.parentNode.removeChild(tab);
    pane.innerHTML = "";
  }
  window.addEventListener("beforeunload", retire);
  // A click on the console's menu loads a page into this frame: the tab goes at once,
  // within that click, before the driver can look for it here.
  function menuClicked(e) {
    if (e.target && e.target.closest && e.target.closest("#nav")) retire();
  }
  try {
    if (window.top !== window) {
      window.top.document.addEventListener("click", menuClicked, true);
      window.addEventListener("pagehide", function () {
        window.top.document.removeEventListener("click", menuClicked, true);
      });
    }
  } catch (ignored) {
    // A top document of another origin: the unload hook above has to do.
  }

  // The tab's content is built when its data is in (console.js whenData), from the
  // machine as this page knows it (a save here updates it).
  var pending = null;
  function showTab() {
    Array.prototype.forEach.call(document.querySelectorAll(".tab"), function (t) { t.style.display = "none"; });
    pane.style.display = "block";
    pane.innerHTML = "";
    if (pending) pending.cancel();
    pending = whenData("tabStorage", function () { build(); });
  }
  tab.addEventListener("click", showTab);
  // A click on the tab while this script was still on its way is answered now.
  if ((window.SIM_EARLY_CLICKS || []).indexOf(tab) >= 0) showTab();
})();
