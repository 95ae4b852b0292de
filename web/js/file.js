import { el, getJson, annotationText, isMarker, watchLibrary } from './common.js';
import { renderPanel } from './panel.js';
import { renderDump, renderConstants } from './classview.js';

const path = new URLSearchParams(location.search).get('path') ?? '';
const query = `path=${encodeURIComponent(path)}`;
const errorBox = document.getElementById('error');
let shown = null;

function isStartRule(rule) {
  return rule.annotations.some((a) => a.name === '$StartRule');
}

function renderRules(rules) {
  const rows = rules.map((rule) => {
    const start = isStartRule(rule);
    const parameters = rule.parameters.map((p) => `${p.type} ${p.name}`).join(', ');
    return el('tr', { class: start ? 'start-rule' : null, 'data-rule': rule.name },
      el('td', {}, rule.name, start ? [' ', el('span', { class: 'badge start' }, 'start rule')] : null),
      el('td', {}, rule.type),
      el('td', { class: 'mono' }, `(${parameters})`),
      el('td', { class: 'mono' }, rule.annotations.filter((a) => !isMarker(a)).map(annotationText).join(' ')));
  });
  document.querySelector('#rule-table tbody').replaceChildren(...rows);
}

function renderFileAnnotations(annotations) {
  const list = document.getElementById('file-annotations');
  list.replaceChildren(...annotations.map((a) => el('li', { class: 'mono' }, annotationText(a))));
  if (annotations.length === 0)
    list.append(el('li', { class: 'muted' }, 'none'));
}

// A file that does not decode has no panel, rules or class view: only its reason is shown.
function showSections(visible) {
  for (const section of document.querySelectorAll('section'))
    section.hidden = !visible;
}

// Fetches everything again and redraws only when the file's content has changed, so that the
// values set in the panel survive changes elsewhere in the library.
async function load() {
  let file, dump, constants;
  try {
    [file, dump, constants] = await Promise.all([
      getJson(`/api/file?${query}`), getJson(`/api/dump?${query}`), getJson(`/api/constants?${query}`)]);
  } catch (error) {
    shown = null;
    errorBox.hidden = false;
    errorBox.textContent = `${path}: ${error.message}`;
    showSections(false);
    return;
  }
  const key = JSON.stringify([file, dump.text]);
  if (key === shown)
    return;
  shown = key;
  errorBox.hidden = true;
  showSections(true);
  renderPanel(document.getElementById('groups'), file.attributes);
  renderRules(file.rules);
  renderFileAnnotations(file.annotations);
  renderDump(document.getElementById('dump'), dump.text, constants.constants.length);
  renderConstants(document.querySelector('#constants tbody'), constants.constants);
  document.body.dataset.loaded = String((Number(document.body.dataset.loaded) || 0) + 1);
  if (location.hash)
    document.getElementById(location.hash.slice(1))?.scrollIntoView();
}

document.getElementById('title').textContent = path;
document.title = `kov serve: ${path}`;
document.getElementById('diff-link').href = `diff.html?old=${encodeURIComponent(path)}`;
watchLibrary(load);
