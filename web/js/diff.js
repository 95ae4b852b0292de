import { el, getJson } from './common.js';

const CLASS_RANK = { breaking: 0, compatible: 1, presentation: 2 };
const params = new URLSearchParams(location.search);
const oldSelect = document.getElementById('old');
const newSelect = document.getElementById('new');

function fillChoices(select, paths, chosen) {
  select.replaceChildren(...paths.map((path) => el('option', { value: path }, path)));
  if (chosen && paths.includes(chosen))
    select.value = chosen;
}

function argumentRows(change) {
  return (change.arguments ?? []).map((a) => el('tr', { class: `argument ${change.class}` },
    el('td', {}), el('td', {}), el('td', {}),
    el('td', { class: 'mono' }, `argument ${a.key || '#' + a.position}`),
    el('td', { class: 'mono old' }, a.old ?? ''),
    el('td', { class: 'mono new' }, a.new ?? '')));
}

function render(diff) {
  document.getElementById('summary').textContent =
    `${diff.old} → ${diff.new}: ${diff.breaking} breaking, ${diff.compatible} compatible, ` +
    `${diff.presentation} presentation`;
  // Breaking changes first; the order within a class stays as the diff gives it.
  const changes = diff.changes.map((change, i) => ({ change, i }))
    .sort((a, b) => (CLASS_RANK[a.change.class] ?? 3) - (CLASS_RANK[b.change.class] ?? 3) || a.i - b.i)
    .map(({ change }) => change);
  const rows = changes.flatMap((change) => [
    el('tr', { class: `change ${change.class}`, 'data-class': change.class },
      el('td', {}, change.class === 'breaking' ? el('span', { class: 'badge breaking' }, 'breaking') : change.class),
      el('td', {}, change.section),
      el('td', { class: 'mono' }, change.name),
      el('td', {}, change.description),
      el('td', { class: 'mono old' }, change.old ?? ''),
      el('td', { class: 'mono new' }, change.new ?? '')),
    ...argumentRows(change)]);
  document.querySelector('#changes tbody').replaceChildren(...rows);
  if (rows.length === 0)
    document.querySelector('#changes tbody').append(
      el('tr', {}, el('td', { colspan: 6, class: 'muted' }, 'The interfaces are the same.')));
  document.body.dataset.loaded = 'true';
}

async function main() {
  const library = await getJson('/api/library').catch(() => ({ files: [] }));
  const paths = library.files.filter((f) => f.status !== 'failed').map((f) => f.path);
  fillChoices(oldSelect, paths, params.get('old'));
  fillChoices(newSelect, paths, params.get('new'));
  const errorBox = document.getElementById('error');
  let url = null;
  if (params.get('old') && params.get('new'))
    url = `/api/diff?old=${encodeURIComponent(params.get('old'))}&new=${encodeURIComponent(params.get('new'))}`;
  else if (!params.get('old'))
    url = '/api/diff';  // the pair given to the server, when there is one
  if (!url)
    return;
  try {
    render(await getJson(url));
  } catch (error) {
    if (url !== '/api/diff') {
      errorBox.hidden = false;
      errorBox.textContent = error.message;
    } else {
      document.getElementById('summary').textContent = 'Pick two rule files to compare.';
    }
  }
}

main();
