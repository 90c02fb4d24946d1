// The IPv4 section of the network page: the management address, mask and gateway. A save
// asks first; once the machine takes it the console answers on the new address only.
whenData("network", function (machine) {
  "use strict";
  var pane = document.getElementById("ipv4Pane");
  if (!pane) return;
  pane.innerHTML =
    '<h3>IPv4</h3>' +
    '<table class="grid">' +
    '<tr><th>IP address</th><td><input id="ipv4_ip" type="text"></td></tr>' +
    '<tr><th>Subnet mask</th><td><input id="ipv4_mask" type="text"></td></tr>' +
    '<tr><th>Default gateway</th><td><input id="ipv4_gateway" type="text"></td></tr>' +
    '</table>' +
    '<p><button id="saveIPV4Set" type="button">Save</button> <span id="ipv4Message"></span></p>';
  var ipv4 = ((machine || {}).network || {}).ipv4 || {};
  document.getElementById("ipv4_ip").value = ipv4.address || "";
  document.getElementById("ipv4_mask").value = ipv4.mask || "";
  document.getElementById("ipv4_gateway").value = ipv4.gateway || "";
  document.getElementById("saveIPV4Set").onclick = function () {
    consoleDialog("Save the IPv4 settings? The console moves to the new address.", function () {
      var wanted = {address: document.getElementById("ipv4_ip").value.trim(),
                    mask: document.getElementById("ipv4_mask").value.trim(),
                    gateway: document.getElementById("ipv4_gateway").value.trim()};
      // Sent by the top document, so that the request outlives this page.
      return window.top.api("POST", "/api/ipv4", wanted).then(function (reply) {
        var note = document.getElementById("ipv4Message");
        if (note) note.textContent = reply.ok ? "" : (reply.message || "The operation failed.");
      });
    });
  };
});
