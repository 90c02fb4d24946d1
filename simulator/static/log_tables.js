// Paged log tables of the simulated console: a table body filled `size` rows at a time
// and a pager of links. The operation log's pager is "‹ n n n n n ›" with the numbers
// sliding so that the page shown sits in the middle; the system events' pager is
// "« ‹ n n n n n › »" with its five numbers kept within the table, so its arrows keep
// their places. An arrow that cannot move leaves the page as it is.
(function () {
  "use strict";

  function link(text, icon, onclick, cls) {
    var a = document.createElement("a");
    a.href = "javascript:void(0)";
    if (cls) a.className = cls;
    if (icon) {
      var i = document.createElement("i");
      i.className = "icon " + icon;
      i.textContent = text;
      a.appendChild(i);
    } else {
      a.textContent = text;
    }
    a.onclick = function (e) { e.preventDefault(); onclick(); };
    return a;
  }

  // options: tbody, links (the div the links go in), info (the div of the count),
  // size, rows (newest first), cells(row, position) -> list of texts, firstLast (bool),
  // keepWithin (bool: number window kept inside 1..pages).
  window.pagedTable = function (o) {
    var page = 1, pages = Math.max(1, Math.ceil(o.rows.length / o.size));
    function show(p) {
      page = Math.min(Math.max(1, p), pages);
      o.tbody.innerHTML = "";
      o.rows.slice((page - 1) * o.size, page * o.size).forEach(function (row, k) {
        var tr = document.createElement("tr");
        o.cells(row, (page - 1) * o.size + k + 1).forEach(function (text) {
          var td = document.createElement("td");
          td.textContent = text;
          tr.appendChild(td);
        });
        o.tbody.appendChild(tr);
      });
      o.info.textContent = "Total " + o.rows.length + " records, page " + page + " of " + pages;
      o.links.innerHTML = "";
      var start = Math.max(1, page - 2);
      if (o.keepWithin) start = Math.max(1, Math.min(start, pages - 4));
      var end = Math.min(pages, start + 4);
      if (o.firstLast) o.links.appendChild(link("«", "icon-first", function () { show(1); }));
      o.links.appendChild(link("‹", "icon-prev", function () { show(page - 1); }));
      for (var n = start; n <= end; n++) {
        (function (n) {
          o.links.appendChild(link(String(n), null, function () { show(n); }, n === page ? "current" : ""));
        })(n);
      }
      o.links.appendChild(link("›", "icon-next", function () { show(page + 1); }));
      if (o.firstLast) o.links.appendChild(link("»", "icon-last", function () { show(pages); }));
    }
    show(1);
    return {show: show, page: function () { return page; }};
  };
})();
