// The local users page: the list of users (rows numbered from 2 into the ids of their
// controls), the form that adds a user, the row's password change, and the delete that
// asks the acting user's password in the top document's dialog.
(function () {
  "use strict";

  // Interfaces by the index their ids carry; index 5 has no interface.
  var INTERFACES = [[0, "Web"], [1, "SNMP"], [2, "IPMI"], [3, "SSH"], [4, "SFTP"], [6, "Local"], [7, "Redfish"]];
  var FIRST_ROW = 2;

  function el(tag, attrs, text) {
    var e = document.createElement(tag);
    Object.keys(attrs || {}).forEach(function (k) { e.setAttribute(k, attrs[k]); });
    if (text !== undefined) e.textContent = text;
    return e;
  }

  function list() { return document.getElementById("userlist"); }

  function showList(shown) {
    list().style.display = shown ? "" : "none";
    document.querySelector(".listHead").style.display = shown ? "" : "none";
  }

  // Only one form of each kind may be on the page: the driver finds its fields by class.
  function closeForms() {
    Array.prototype.forEach.call(document.querySelectorAll(".userForm, .editArea"), function (f) {
      f.parentNode.removeChild(f);
    });
  }

  function render(users) {
    var ul = list();
    ul.innerHTML = "";
    users.forEach(function (u, i) {
      var n = FIRST_ROW + i;
      var li = el("li"), row = el("div");
      row.appendChild(el("span", {"class": "userName"}, u.name));
      row.appendChild(el("span", {}, u.role || "Administrator"));
      row.appendChild(el("span", {}, u.password_validity || "Indefinite"));
      row.appendChild(el("span", {}, u.status || "Enabled"));
      var rules = u.rules || ["enable", "enable", "disable"];
      for (var r = 0; r < 3; r++) {
        var rule = el("span");
        // A rule of null is an em without a class attribute, as some firmware writes it.
        rule.appendChild(el("em", rules[r] === null ? {} : {"class": rules[r]}));
        row.appendChild(rule);
      }
      var intf = u.login_interfaces || {};
      INTERFACES.forEach(function (p) {
        var span = el("span", {"login_intf": String(p[0]), "title": p[1]});
        span.appendChild(el("em", {"id": "login_intf_user" + n + "_" + p[0], "class": intf[p[1]] || "disable"}));
        row.appendChild(span);
      });
      var ops = el("span", {"class": "operations"});
      var edit = el("a", {"id": "edit_user" + n}, "Edit");
      var del = el("a", {"id": "del_user" + n}, "Delete");
      edit.onclick = function () { openEdit(li, u.name, n); };
      del.onclick = function () { askDelete(u.name); };
      ops.appendChild(edit);
      ops.appendChild(del);
      row.appendChild(ops);
      li.appendChild(row);
      ul.appendChild(li);
    });
  }

  // A refusal or an outcome, in the console's dialog of the top document.
  function tell(message) { window.consoleDialog(message); }

  function afterChange(reply) {
    closeForms();
    if (reply.users) render(reply.users);
    showList(true);
    if (!reply.ok) tell(reply.message || "The operation failed.");
  }

  function openAdd() {
    closeForms();
    showList(false);
    var form = el("form", {"class": "userForm", "autocomplete": "off"});
    function field(label, cls, type) {
      var l = el("label", {}, label + " ");
      l.appendChild(el("input", {"class": cls, "type": type, "autocomplete": "off"}));
      form.appendChild(l);
    }
    field("Your password", "yourPassWord", "password");
    field("User name", "userName", "text");
    field("Password", "userPassWord", "password");
    field("Confirm the password", "userPassWord1", "password");
    var roles = el("div", {"class": "roles"});
    ["Administrator", "Operator", "Common User"].forEach(function (name, i) {
      var l = el("label");
      var radio = el("input", {"type": "radio", "name": "role", "num": String(i), "value": name});
      if (i === 0) radio.checked = true;  // the console's default role
      l.appendChild(radio);
      l.appendChild(document.createTextNode(" " + name));
      roles.appendChild(l);
    });
    form.appendChild(roles);
    var save = el("div", {"reskey": "SAVE"}, "Save"), cancel = el("div", {"reskey": "CANCEL"}, "Cancel");
    form.appendChild(save);
    form.appendChild(cancel);
    document.querySelector(".usersPage").insertBefore(form, document.querySelector(".listHead"));
    save.onclick = function () {
      var value = function (cls) { return form.querySelector("." + cls).value; };
      api("POST", "/api/users/add", {
        cur_password: value("yourPassWord"), name: value("userName"), password: value("userPassWord"),
        password_confirm: value("userPassWord1"), role: form.querySelector("input[name=role]:checked").value
      }).then(afterChange);
    };
    cancel.onclick = function () { closeForms(); showList(true); };
  }

  function openEdit(li, name, n) {
    closeForms();
    var form = el("form", {"class": "editArea", "autocomplete": "off"});
    var cur = el("label", {}, "Your password ");
    cur.appendChild(el("input", {"id": "current_pw_tips" + n, "type": "password", "autocomplete": "off"}));
    form.appendChild(cur);
    var change = el("label");
    var box = el("input", {"id": "change_pwd_tips" + n, "type": "checkbox"});
    change.appendChild(box);
    change.appendChild(document.createTextNode(" Change the password"));
    form.appendChild(change);
    var fields = el("div", {"class": "pwdFields"});
    form.appendChild(fields);
    box.onchange = function () {
      fields.innerHTML = "";
      if (!box.checked) return;
      [["New password", "userPassWord"], ["Confirm the password", "userPassWord1"]].forEach(function (p) {
        var l = el("label", {}, p[0] + " ");
        l.appendChild(el("input", {"class": p[1], "type": "password", "autocomplete": "off"}));
        fields.appendChild(l);
      });
    };
    var save = el("div", {"reskey": "SAVE"}, "Save"), cancel = el("div", {"reskey": "CANCEL"}, "Cancel");
    form.appendChild(save);
    form.appendChild(cancel);
    li.appendChild(form);
    save.onclick = function () {
      if (!box.checked) { closeForms(); return; }
      api("POST", "/api/users/password", {
        name: name, cur_password: document.getElementById("current_pw_tips" + n).value,
        password: form.querySelector(".userPassWord").value, password_confirm: form.querySelector(".userPassWord1").value
      }).then(function (reply) {
        afterChange(reply);
        if (reply.ok) tell("The password of " + name + " was changed.");
      });
    };
    cancel.onclick = closeForms;
  }

  // The delete asks the acting user's password in the top document's dialog. While the
  // page's lock is on, the delete controls do nothing.
  function askDelete(name) {
    var lock = document.querySelector(".usersTips em:nth-of-type(2)");
    if (lock && /\block\b/.test(lock.getAttribute("class") || "")) return;
    var top = window.top.document;
    var dialog = top.getElementById("dialog");
    top.getElementById("dialogText").textContent = "Delete the user " + name + "? Enter your password to confirm.";
    var field = top.getElementById("old_password1");
    if (!field) {
      field = top.createElement("input");
      field.id = "old_password1";
      field.type = "password";
      field.autocomplete = "off";
      dialog.insertBefore(field, top.getElementById("btnDialogOK"));
    }
    field.value = "";
    dialog.style.display = "block";
    function done() {
      dialog.style.display = "none";
      if (field.parentNode) field.parentNode.removeChild(field);
    }
    top.getElementById("btnDialogOK").onclick = function () {
      var password = field.value;
      done();
      api("POST", "/api/users/delete", {name: name, cur_password: password}).then(afterChange);
    };
    top.getElementById("btnDialogCancle").onclick = done;
  }

  document.addEventListener("DOMContentLoaded", function () {
    whenData("local_users", function (m) { render((m && m.users) || []); });
    document.getElementById("add_user").onclick = openAdd;
    // Only an administrator may add users: the control goes for anyone else.
    api("GET", "/api/users/me").then(function (me) {
      var add = document.getElementById("add_user");
      if (add && me.role && me.role !== "Administrator") add.parentNode.removeChild(add);
    });
  });
})();
