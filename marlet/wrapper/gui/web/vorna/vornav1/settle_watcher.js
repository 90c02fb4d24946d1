var KEY = Symbol.for(arguments[0]);
var top = window.top;
var api = top[KEY];
if (!api) {
  api = (function (top) {
    var seq = 0, last = top.Date.now();
    var states = new top.WeakMap();  // document -> {inflight, hooked, leaving}
    var pending = new top.Map();     // frame element whose src changed -> {doc, since}
    var NAVIGATION_LIMIT = 10000;    // ms: a navigation that never replaces its document
    var MARK = top.Symbol('vorna.settle.wrapped');
    var chaseUntil = 0, chasing = false;
    var timerLimit = 0, youngLimit = 0;  // ms, set by each poll
    var channel = new top.MessageChannel();
    function bump() { seq++; last = top.Date.now(); }
    function stateOf(doc) {
      var s = states.get(doc);
      if (!s) { s = {inflight: 0, timers: 0, seen: top.Date.now()}; states.set(doc, s); }
      return s;
    }
    function begin(win) {
      var s = null;
      try { s = stateOf(win.document); s.inflight++; } catch (e) {}
      bump();
      var done = false;
      return function () {
        if (done) return;
        done = true;
        if (s && s.inflight > 0) s.inflight--;
        bump();
      };
    }
    function wrapRequests(win) {
      try {
        var f = win.fetch;
        if (typeof f === 'function' && !f[MARK]) {
          var fetch = function fetch() {
            'use strict';  // an unqualified call passes `this` on as undefined, as before
            var end = begin(win), p;
            try { p = f.apply(this, arguments); } catch (e) { end(); throw e; }
            try { p.then(end, end); } catch (e) { end(); }
            return p;
          };
          Object.defineProperty(fetch, MARK, {value: true});
          win.fetch = fetch;
        }
      } catch (e) {}
      try {
        var rproto = win.Response && win.Response.prototype;
        ['json', 'text', 'arrayBuffer', 'blob', 'formData'].forEach(function (name) {
          var read = rproto && rproto[name];
          if (typeof read !== 'function' || read[MARK]) return;
          var body = function () {
            var end = begin(win), p;
            try { p = read.apply(this, arguments); } catch (e) { end(); throw e; }
            try { p.then(end, end); } catch (e) { end(); }
            return p;
          };
          Object.defineProperty(body, 'name', {value: name});
          Object.defineProperty(body, MARK, {value: true});
          rproto[name] = body;
        });
      } catch (e) {}
      try {
        var proto = win.XMLHttpRequest && win.XMLHttpRequest.prototype;
        var originalSend = proto && proto.send;
        if (typeof originalSend === 'function' && !originalSend[MARK]) {
          var wrapped = function send() {
            var xhr = this, end = begin(win);
            var once = function () { xhr.removeEventListener('loadend', once); end(); };
            xhr.addEventListener('loadend', once);
            var result;
            try { result = originalSend.apply(this, arguments); } catch (e) { once(); throw e; }
            if (xhr.readyState === 4) once();  // a synchronous request is over already
            return result;
          };
          Object.defineProperty(wrapped, MARK, {value: true});
          proto.send = wrapped;
        }
      } catch (e) {}
    }
    // A setTimeout whose delay is at most timerLimit counts as pending work of the
    // document that set it until it fires or is cleared.
    function wrapTimers(win) {
      try {
        var set = win.setTimeout, clearT = win.clearTimeout, clearI = win.clearInterval;
        if (typeof set !== 'function' || set[MARK]) return;
        var live = new top.Map();  // the window's timer id -> its end()
        var setTimeout = function setTimeout(handler, delay) {
          var ms = Number(delay) || 0;
          if (typeof handler !== 'function' || !(ms <= timerLimit)) return set.apply(win, arguments);
          var s = null, done = false, id;
          try { s = stateOf(win.document); s.timers++; } catch (e) {}
          var end = function () {
            if (done) return;
            done = true;
            live.delete(id);
            if (s && s.timers > 0) s.timers--;
            bump();
          };
          var args = Array.prototype.slice.call(arguments);
          args[0] = function () { end(); return handler.apply(this, arguments); };
          try { id = set.apply(win, args); } catch (e) { end(); throw e; }
          live.set(id, end);
          return id;
        };
        var clearer = function (clear, name) {
          var f = function (id) {
            var end = live.get(id);
            var result = clear.apply(win, arguments);
            if (end) end();
            return result;
          };
          Object.defineProperty(f, 'name', {value: name});
          Object.defineProperty(f, MARK, {value: true});
          return f;
        };
        Object.defineProperty(setTimeout, MARK, {value: true});
        win.setTimeout = setTimeout;
        if (typeof clearT === 'function') win.clearTimeout = clearer(clearT, 'clearTimeout');
        if (typeof clearI === 'function') win.clearInterval = clearer(clearI, 'clearInterval');
      } catch (e) {}
    }
    // A src that changes on a frame starts a navigation the old document cannot tell of
    // until the new one arrives: the frame counts as loading until its document changes.
    function changed(records) {
      bump();
      for (var i = 0; i < records.length; i++) {
        var r = records[i], t = r.target;
        if (r.type === 'attributes' && r.attributeName === 'src' && t && /^i?frame$/i.test(t.tagName || '')) {
          var d = null;
          try { d = t.contentDocument; } catch (e) {}
          pending.set(t, {doc: d, since: top.Date.now()});
        }
      }
    }
    // A frame of a document first seen that shows another address than its src is on its
    // way there (the watcher came after the click that set it).
    function lagging(doc) {
      var frames = [];
      try { frames = doc.querySelectorAll('iframe, frame'); } catch (e) {}
      for (var i = 0; i < frames.length; i++) {
        try {
          var f = frames[i], d = f.contentDocument, src = f.src;
          if (src && d && d.URL.split('#')[0] !== src.split('#')[0]) pending.set(f, {doc: d, since: top.Date.now()});
        } catch (e) {}
      }
    }
    function hook(win, doc) {
      bump();
      lagging(doc);
      if (doc !== top.document) chasing = false;
      wrapRequests(win);
      wrapTimers(win);
      try {
        new top.MutationObserver(changed).observe(doc, {subtree: true, childList: true, attributes: true,
                                                      characterData: true});
      } catch (e) {}
      try { doc.addEventListener('readystatechange', bump); } catch (e) {}
      try { doc.addEventListener('load', function () { scan(); }, true); } catch (e) {}
      // A document that is being left (a link, a location change, a form) is busy until
      // the next one replaces it.
      try {
        win.addEventListener('beforeunload', function () { bump(); stateOf(doc).leaving = top.Date.now(); });
      } catch (e) {}
      try {
        win.addEventListener('pagehide', function () {
          bump();
          if (win !== top) chase();
        });
      } catch (e) {}
    }
    function visit(win, docs) {
      var doc = null, n = 0;
      try { doc = win.document; } catch (e) { return; }
      if (!doc) return;
      var s = stateOf(doc);
      if (!s.hooked) { s.hooked = true; hook(win, doc); }
      docs.push(doc);
      try { n = win.frames.length; } catch (e) {}
      for (var i = 0; i < n; i++) {
        try { visit(win.frames[i], docs); } catch (e) {}
      }
    }
    function scan() { var docs = []; visit(top, docs); return docs; }
    channel.port1.onmessage = function () {
      scan();
      if (chasing && top.Date.now() < chaseUntil) channel.port2.postMessage(0);
      else chasing = false;
    };
    function chase() {
      chaseUntil = top.Date.now() + 2000;
      if (!chasing) { chasing = true; channel.port2.postMessage(0); }
    }
    top.setInterval(scan, 50);
    var self = {
      poll: function (timerMs, youngMs) {
        timerLimit = Number(timerMs) || 0;
        youngLimit = Number(youngMs) || 0;
        var docs = scan(), loading = false, inflight = 0, timers = 0, young = false, now = top.Date.now();
        for (var i = 0; i < docs.length; i++) {
          var s = stateOf(docs[i]);
          if (docs[i].readyState !== 'complete') loading = true;
          if (s.leaving && now - s.leaving < NAVIGATION_LIMIT) loading = true;
          inflight += s.inflight;
          timers += s.timers;
          if (now - s.seen < youngLimit) young = true;
        }
        pending.forEach(function (p, frame) {
          var d = null;
          try { d = frame.contentDocument; } catch (e) {}
          if (d !== p.doc || now - p.since >= NAVIGATION_LIMIT || !frame.isConnected) pending.delete(frame);
          else loading = true;
        });
        return {seq: seq, loading: loading, inflight: inflight, timers: timers, young: young, documents: docs.length,
                ms_since_change: top.Date.now() - last};
      }
    };
    Object.defineProperty(top, KEY, {value: self, enumerable: false, configurable: true, writable: false});
    return self;
  })(top);
}
return api.poll(arguments[1], arguments[2]);
