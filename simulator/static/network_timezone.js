// The time zone section of the network page: the region drop-down, the cities of the
// chosen region, and the save, whose result notice (OperateSucc) shows in the top
// document as the console's notices do: class "operatecss4" when the save took,
// "operatecss3" when it was turned down.
// Faults (window.SIM_FAULTS.settings): {"quiet_time_zone": true} shows no notice at all.
whenData("network", function (machine) {
  "use strict";
  var pane = document.getElementById("timezonePane");
  if (!pane || !machine || !machine.settings) return;
  var settings = machine.settings, zones = settings.time_zones || {};

  pane.innerHTML =
    '<h3>Time Zone</h3>' +
    '<p>Region: <select id="timezoneState"></select> ' +
    'City: <select id="timezoneCity"></select> ' +
    '<button id="saveTimeZoneSet" type="button">Save</button></p>';
  var region = document.getElementById("timezoneState"), city = document.getElementById("timezoneCity");

  function option(select, value, label) {
    var o = document.createElement("option");
    o.value = value;
    o.textContent = label;
    select.appendChild(o);
  }
  function fillCities(chosen) {
    city.innerHTML = "";
    (zones[region.value] || []).forEach(function (c) { option(city, c[0], c[0] + " (" + c[1] + ")"); });
    if (chosen) city.value = chosen;
  }
  Object.keys(zones).forEach(function (r) { option(region, r, r); });
  region.value = settings.time_zone.state;
  fillCities(settings.time_zone.city);
  region.onchange = function () { fillCities(null); };

  // The notice lives in the top document; it is made on first use.
  function notice() {
    var doc = window.top.document, n = doc.getElementById("OperateSucc");
    if (!n) {
      n = doc.createElement("div");
      n.id = "OperateSucc";
      n.style.cssText = "display:none; position:fixed; top:56px; right:24px; padding:8px 16px; " +
                        "border-radius:4px; z-index:30; color:#fff;";
      doc.body.appendChild(n);
    }
    return n;
  }
  var hideTimer = null;
  function show(ok, text) {
    var n = notice();
    n.className = ok ? "operatecss4" : "operatecss3";
    n.style.background = ok ? "#2a9d8f" : "#b00";
    n.textContent = text;
    n.style.display = "block";
    // The top document's timer: the frame may have moved to another page by then.
    window.top.clearTimeout(hideTimer);
    hideTimer = window.top.setTimeout(function () { n.style.display = "none"; }, 3000);
  }
  document.getElementById("saveTimeZoneSet").onclick = function () {
    var n = notice();
    n.style.display = "none";  // an earlier notice must not stand for this save
    var faults = (window.SIM_FAULTS || {}).settings || {};
    api("POST", "/api/time_zone", {state: region.value, city: city.value}).then(function (r) {
      if (faults.quiet_time_zone) return;
      show(r.ok, r.ok ? "Operation succeeded." : (r.message || "The operation failed."));
    }, function () {
      if (!faults.quiet_time_zone) show(false, "The operation failed.");
    });
  };
});
