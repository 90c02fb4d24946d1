// Shared helpers of the simulated console's pages.
(function () {
  "use strict";

  // Elements a test asked to be missing are removed once the page is built.
  function removeMissing() {
    (window.SIM_MISSING || []).forEach(function (id) {
      var e = document.getElementById(id);
      if (e) e.parentNode.removeChild(e);
    });
  }
  document.addEventListener("DOMContentLoaded", function () { setTimeout(removeMissing, 0); });

  // Runs render(machine) once the data of a page's section (a page, a tab) is in.
  // Under the instant latency profile that is at once, with the machine inlined into the
  // page. Under the realistic one the page asks GET /__sim/data/<section>, which the
  // server answers after the section's delay (simulator/latency.py), and renders the
  // machine of the answer: `start` seconds after this call where the section has a timer,
  // again every `every` seconds for ever where it polls (rendering again only when the
  // data changed). The handle's cancel() drops what is still on its way.
  window.whenData = function (section, render) {
    var latency = window.SIM_LATENCY || {}, cancelled = false, timer = null, last = null;
    var handle = {cancel: function () { cancelled = true; if (timer !== null) clearTimeout(timer); }};
    if (latency.profile !== "realistic") {
      render(window.MACHINE);
      return handle;
    }
    var entry = (latency.sections || {})[section] || {}, scale = Number(latency.scale);
    function later(seconds, then) { timer = setTimeout(then, seconds * scale * 1000); }
    function ask() {
      timer = null;
      fetch("/__sim/data/" + encodeURIComponent(section), {credentials: "same-origin", cache: "no-store"})
        .then(function (r) {
          if (!r.ok) throw new Error("the simulator has no data section " + section);
          return r.json();
        })
        .then(function (data) {
          if (cancelled) return;
          var text = JSON.stringify(data.machine);
          if (text !== last) {
            last = text;
            render(data.machine);
            removeMissing();  // what a test asked to be missing stays missing
          }
          if (entry.every) later(entry.every, ask);
        })
        .catch(function (e) {
          if (window.console) window.console.error(e);
          if (!cancelled && entry.every) later(entry.every, ask);
        });
    }
    if (entry.start) later(entry.start, ask); else ask();
    return handle;
  };

  window.api = function (method, path, body) {
    return fetch(path, {
      method: method, credentials: "same-origin",
      headers: {"Content-Type": "application/json"},
      body: body === undefined ? undefined : JSON.stringify(body)
    }).then(function (r) { return r.json(); });
  };

  // Dialogs live in the top document: a page inside the content frame asks the top.
  window.consoleDialog = function (message, onOk) {
    var top = window.top;
    if (top !== window && top.consoleDialog) return top.consoleDialog(message, onOk);
    var d = document.getElementById("dialog");
    document.getElementById("dialogText").textContent = message;
    d.style.display = "block";
    var ok = document.getElementById("btnDialogOK"), cancel = document.getElementById("btnDialogCancle");
    ok.onclick = function () { d.style.display = "none"; if (onOk) onOk(); };
    cancel.onclick = function () { d.style.display = "none"; };
  };
})();

// A small `$` of the console's own: $("#id") selects by id; .attr(name) reads an
// attribute, .attr(name, value) sets it. A selector that finds nothing does nothing.
window.$ = function (selector) {
  var el = typeof selector === "string" && selector.charAt(0) === "#" ? document.getElementById(selector.slice(1)) : null;
  return {
    length: el ? 1 : 0,
    attr: function (name, value) {
      if (value === undefined) return el ? el.getAttribute(name) : undefined;
      if (el) el.setAttribute(name, value);
      return this;
    }
  };
};
