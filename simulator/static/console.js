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
