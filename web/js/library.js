import { el, fileLink, formatBytes, watchLibrary } from './common.js';

const filter = document.getElementById('filter');
const failuresFirst = document.getElementById('failures-first');
const body = document.querySelector('#library tbody');
let files = [];

function row(file) {
  const status = el('td', { class: `status status-${file.status}` }, file.status);
  if (file.error)
    status.append(el('div', { class: 'reason' }, file.error));
  return el('tr', { 'data-path': file.path, 'data-status': file.status },
    el('td', {}, fileLink(file.path)),
    status,
    el('td', { class: 'number' }, formatBytes(file.bytes)),
    el('td', { class: 'number' }, file.attributes ?? ''),
    el('td', { class: 'number' }, file.rules ?? ''));
}

function render() {
  const needle = filter.value.trim().toLowerCase();
  let shown = files.filter((file) => file.path.toLowerCase().includes(needle));
  if (failuresFirst.checked)
    shown = [...shown.filter((f) => f.status === 'failed'), ...shown.filter((f) => f.status !== 'failed')];
  body.replaceChildren(...shown.map(row));
  if (shown.length === 0)
    body.append(el('tr', {}, el('td', { colspan: 5, class: 'muted' },
      files.length === 0 ? 'No rule files under the served paths.' : 'No rule files match the filter.')));
}

function showProgress({ done, total }) {
  const progress = document.getElementById('progress');
  progress.max = Math.max(total, 1);
  progress.value = done;
  document.getElementById('progress-text').textContent =
    done < total ? `checking ${done} of ${total}` : `${total} files checked`;
}

filter.addEventListener('input', render);
failuresFirst.addEventListener('change', render);
watchLibrary((library) => {
  files = library.files;
  showProgress(library.progress);
  render();
});
