// Checks the site in a browser as its readers open it, from disk: every link and anchor leads somewhere, the search finds
// what it must, pages are accessible in light and dark, wide and narrow, and the keyboard alone reaches everything.
//
//     node check.mjs SITE TOOLS BROWSER
//
// TOOLS is a folder with the npm packages puppeteer-core and axe-core.
import { readFileSync, readdirSync, existsSync, statSync } from 'node:fs';
import { createRequire } from 'node:module';
import { dirname, join, relative, resolve } from 'node:path';
import { pathToFileURL } from 'node:url';

const [site, tools, browserPath] = process.argv.slice(2);
const required = createRequire(join(resolve(tools), 'package.json'));
const axe = readFileSync(required.resolve('axe-core/axe.min.js'), 'utf8');

const sample = ['index.html', 'docs/servers.html', 'docs/farm.html', 'examples/index.html', 'reference/index.html',
  'reference/kz.html', 'reference/codes.html', 'reference/commands.html', 'reference/mesh/index.html',
  'reference/mesh/Mesh.html', 'reference/command/Command.html', 'docs/guides/command.html'];

// What is typed, and what one of the first results has to lead to.
const searches = [['mesh add', 'reference/mesh/Mesh.html'], ['bless', 'reference/kz.html#bless'],
  ['MergeWithTransform', 'Mesh.html#MergeWithTransform'], ['0x00040000', 'reference/mesh/index.html#f_MESHMERGE_POLY'],
  ['262144', 'reference/mesh/index.html#f_MESHMERGE_POLY'], ['OUTOFBOUNDS', 'codes.html#OUTOFBOUNDS'],
  ['mop_Evaluate', 'MeshOperation.html#Evaluate'], ['user.value', 'commands.html#user.value']];

const patience = 120000;  // milliseconds; a busy machine is slow, and that is no fault of the site
const faults = [];
const fault = text => faults.push(text);

function pagesBelow(folder) {
  return readdirSync(folder, { withFileTypes: true }).flatMap(entry => {
    const path = join(folder, entry.name);
    return entry.isDirectory() ? pagesBelow(path) : path.endsWith('.html') ? [path] : [];
  });
}

function checkLinks() {
  const pages = new Map(pagesBelow(site).map(path => [path, readFileSync(path, 'utf8')]));
  const anchors = new Map([...pages].map(([path, text]) =>
    [path, new Set([...text.matchAll(/\sid="?([^"\s>]+)/g)].map(match => match[1]))]));
  let links = 0;
  for (const [page, text] of pages) {
    if (text.includes('{ #')) fault(`${relative(site, page)}: a heading shows its attributes`);
    if (/<code>[^<]*\\\|/.test(text)) fault(`${relative(site, page)}: a table shows the backslash before a bar`);
    if (page.endsWith('404.html')) continue;  // a server shows it at any address
    for (const match of text.matchAll(/\s(?:href|src)="?([^"\s>]+)/g)) {
      const link = match[1].replaceAll('&amp;', '&');
      if (/^(https?|mailto|data):/.test(link)) continue;
      ++links;
      const [path, anchor] = link.split('#');
      const target = path ? join(dirname(page), decodeURIComponent(path.split('?')[0])) : page;
      if (!existsSync(target) || !statSync(target).isFile()) fault(`${relative(site, page)}: ${link} leads nowhere`);
      else if (anchor && anchors.has(target) && !anchors.get(target).has(decodeURIComponent(anchor)))
        fault(`${relative(site, page)}: ${link}: there is no such anchor`);
    }
  }
  console.log(`${links} links on ${pages.size} pages`);
}

const pause = milliseconds => new Promise(done => setTimeout(done, milliseconds));
const open = (page, path) => page.goto(pathToFileURL(resolve(site, path)).href);

// A page whose faults while it loads are kept, as is whatever it asks of a network.
function watched(page) {
  page.on('pageerror', error => fault(`${page.url()}: ${error.message}`));
  page.on('requestfailed', request => fault(`${page.url()}: ${request.url()} cannot be loaded`));
  page.on('request', request => /^https?:/.test(request.url()) && fault(`${page.url()} asks for ${request.url()}`));
  return page;
}

// The theme remembers the colours that a page was first shown in, so each scheme gets a profile of its own.
async function checkAccess(browser, scheme) {
  const profile = await browser.createBrowserContext();
  const page = watched(await profile.newPage());
  await page.emulateMediaFeatures([{ name: 'prefers-color-scheme', value: scheme }]);
  for (const width of [1400, 420]) {
    await page.setViewport({ width, height: 900 });
    for (const path of sample) {
      await open(page, path);
      await pause(300);  // colours fade in
      const { violations } = await page.evaluate(`${axe}; axe.run({ preload: false })`);
      for (const each of violations)
        fault(`${path}, ${scheme}, ${width} wide: ${each.id}: ${each.help}: ${each.nodes[0].html.slice(0, 160)}`);
      const [colours, isTooWide] = await page.evaluate(() =>
        [document.body.dataset.mdColorScheme, document.documentElement.scrollWidth > innerWidth]);
      if ((colours === 'slate') !== (scheme === 'dark')) fault(`${path} is ${colours} where it should be ${scheme}`);
      if (isTooWide) fault(`${path}, ${scheme}: wider than a window of ${width}`);
    }
  }
  await profile.close();
  console.log(`${sample.length} pages, ${scheme}, wide and narrow`);
}

async function resultsOf(page, words) {
  await open(page, 'reference/index.html');
  await page.keyboard.press('/');
  await page.waitForFunction(() => document.activeElement.matches('input.md-search__input'), { timeout: patience });
  await page.keyboard.type(words);
  await page.waitForSelector('.md-search-result__item a', { timeout: patience });
  return page.$$eval('.md-search-result__item', items => items.slice(0, 8).map(
    item => [...item.querySelectorAll('a')].map(link => link.href.replace(/\?h=[^#]*/, ''))));
}

async function checkSearch(page) {
  await page.setViewport({ width: 1400, height: 900 });
  for (const [words, wanted] of searches) {
    const results = await resultsOf(page, words).catch(error => [error.message]);
    if (!results.flat().some(link => link.includes(wanted)))
      fault(`the search for "${words}" should find ${wanted}, not ${results.flat().slice(0, 4).join(' ')}`);
  }
  console.log(`${searches.length} searches`);
}

async function checkKeyboard(page) {
  await resultsOf(page, 'bless');
  await page.keyboard.press('ArrowDown');
  await Promise.all([page.waitForNavigation({ timeout: patience }), page.keyboard.press('Enter')])
    .catch(() => fault('Enter on a result of the search leads nowhere'));
  await open(page, 'index.html');
  const reached = new Set();
  for (let count = 0; count < 60; ++count) {
    await page.keyboard.press('Tab');
    reached.add(await page.evaluate(() => {
      const at = document.activeElement;
      return at.closest('.md-skip') ? 'skip link' : at.closest('.md-tabs') ? 'tabs'
        : at.closest('.md-search') ? 'search' : at.closest('.md-sidebar--primary') ? 'navigation'
          : at.closest('.md-content') ? 'contents' : '';
    }));
  }
  for (const each of ['skip link', 'search', 'tabs', 'navigation', 'contents'])
    if (!reached.has(each)) fault(`Tab never reaches the ${each}`);
  console.log('the keyboard alone');
}

checkLinks();
const browser = await required('puppeteer-core').launch({ executablePath: browserPath, args: ['--no-sandbox'] });
try {
  for (const scheme of ['light', 'dark']) await checkAccess(browser, scheme);
  const page = watched(await browser.newPage());
  await checkSearch(page);
  await checkKeyboard(page);
} finally {
  await browser.close();
}
new Set(faults).forEach(text => console.error(text));
if (faults.length) console.error(`${new Set(faults).size} faults`);
process.exit(faults.length ? 1 : 0);
