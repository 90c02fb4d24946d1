// The settle's preload script: the browser runs it in every new document of the session,
// before any script of the page, with `send` bound to the settle's script.message
// channel. It reports what the browser's network and navigation events do not show:
//   "r"          it runs in a new document (timers of the old one are gone)
//   "d"          the DOM changed (one message per batch of changes)
//   "t+ID MS"    the page set a timer of MS ms (setTimeout with a function, up to a minute)
//   "t-ID"       that timer fired (just before its function runs) or was cleared
// It adds no element, no attribute and no enumerable name; setTimeout, clearTimeout and
// clearInterval keep their names and return what the page's own calls returned.
function (send) {
  'use strict';
  var REPORT_LIMIT = 60000;  // ms: longer timers are the page's background
  var win = window;
  try { send('r'); } catch (e) {}
  try {
    var setTimeoutOriginal = win.setTimeout;
    var clearTimeoutOriginal = win.clearTimeout;
    var clearIntervalOriginal = win.clearInterval;
    var slice = Array.prototype.slice;
    var pending = new win.Set();
    var done = function (id) {
      if (pending.delete(id)) { try { send('t-' + id); } catch (e) {} }
    };
    var setTimeout = function setTimeout(handler, delay) {
      var ms = +delay || 0;
      if (typeof handler !== 'function' || !(ms <= REPORT_LIMIT)) return setTimeoutOriginal.apply(this, arguments);
      var rest = slice.call(arguments, 2), id;
      id = setTimeoutOriginal.call(this, function () {
        done(id);
        return handler.apply(this, rest);
      }, delay);
      pending.add(id);
      try { send('t+' + id + ' ' + ms); } catch (e) {}
      return id;
    };
    var clearTimeout = function clearTimeout(id) {
      done(id);
      return clearTimeoutOriginal.apply(this, arguments);
    };
    var clearInterval = function clearInterval(id) {
      done(id);
      return clearIntervalOriginal.apply(this, arguments);
    };
    win.setTimeout = setTimeout;
    win.clearTimeout = clearTimeout;
    win.clearInterval = clearInterval;
  } catch (e) {}
  try {
    new win.MutationObserver(function () {
      try { send('d'); } catch (e) {}
    }).observe(win.document, {subtree: true, childList: true, attributes: true, characterData: true});
  } catch (e) {}
}
