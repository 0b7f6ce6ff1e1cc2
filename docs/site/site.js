// What the theme leaves out for those who use a keyboard or a screen reader: what scrolls can be reached, and every landmark
// has a name of its own. The theme adds parts of a page later, so it is done whenever something has been added.
'use strict';
(function () {
  function complete() {
    document.querySelectorAll('.md-typeset__scrollwrap, pre > code').forEach(each => { each.tabIndex = 0; });
    document.querySelectorAll('.md-search').forEach(each => each.setAttribute('aria-label', 'Search'));
    document.querySelectorAll('nav[aria-labelledby]').forEach(each => {  // the label of a section with a page is an icon
      const label = document.getElementById(each.getAttribute('aria-labelledby'));
      const link = each.parentElement.querySelector('a.md-nav__link');
      if (link && !(label && label.textContent.trim())) {
        each.removeAttribute('aria-labelledby');
        each.setAttribute('aria-label', link.textContent.trim());
      }
    });
    document.querySelectorAll('.md-code__nav').forEach((each, at) => each.setAttribute('aria-label', 'Code ' + (at + 1)));
  }
  complete();
  new MutationObserver(complete).observe(document.body, { childList: true, subtree: true });
}());
