// The class view: the dump text with every pool index a link to its entry (#cN), and the
// constant table.
import { el } from './common.js';

const ENTRY = /^(\s*)\[(\d+)\]=/;
const INDEX = /(\w*_index[=:]\s*)(\d+)/g;

function linkIndexes(line, count) {
  const parts = [];
  let last = 0;
  for (const match of line.matchAll(INDEX)) {
    const index = Number(match[2]);
    if (index < 1 || index >= count)
      continue;
    const start = match.index + match[1].length;
    parts.push(line.slice(last, start), el('a', { href: `#c${index}`, class: 'pool-link' }, match[2]));
    last = start + match[2].length;
  }
  parts.push(line.slice(last));
  return parts;
}

export function renderDump(pre, text, count) {
  // Entries are anchored inside the constant pool only; other numbered lists use the same form.
  let inPool = false;
  const lines = text.split('\n').map((line) => {
    if (/^constant_pool=\{/.test(line))
      inPool = true;
    else if (/^\s*\};/.test(line))
      inPool = false;
    const entry = inPool ? ENTRY.exec(line) : null;
    const content = linkIndexes(line, count);
    content.push('\n');
    return entry ? el('span', { class: 'entry', id: `c${entry[2]}` }, content) : content;
  });
  pre.replaceChildren(...lines.flat());
}

function constantValue(constant) {
  if (constant.value === undefined || constant.value === null)
    return '';
  return typeof constant.value === 'string' ? JSON.stringify(constant.value) : String(constant.value);
}

export function renderConstants(body, constants) {
  const rows = [];
  constants.forEach((constant, index) => {
    if (constant)
      rows.push(el('tr', { id: `k${index}` },
        el('td', {}, el('a', { href: `#c${index}`, class: 'pool-link' }, String(index))),
        el('td', {}, constant.kind),
        el('td', { class: 'mono' }, constantValue(constant))));
  });
  body.replaceChildren(...rows);
}
