// The attribute panel: a control per attribute, as a client of the runtime draws it. Values live
// in the page only.
import { el, annotationText, isMarker } from './common.js';

const UNDERSTOOD = new Set(['$Group', '$Order', '@Range', '@Enum', '@Color', '@File', '@Description']);

function find(attribute, name) {
  return attribute.annotations.find((annotation) => annotation.name === name);
}

function argument(annotation, key, position) {
  return annotation.arguments.find((a) => a.key === key) ??
      annotation.arguments.filter((a) => !a.key)[position];
}

function groupOf(attribute) {
  const group = find(attribute, '$Group');
  if (!group)
    return '';
  return group.arguments.filter((a) => a.type === 'string').map((a) => a.value).join('');
}

function rangeControl(id, range) {
  const min = argument(range, 'min', 0)?.value;
  const max = argument(range, 'max', 1)?.value;
  const slider = el('input', { type: 'range', id, min, max, step: 'any', value: min });
  const number = el('input', { type: 'number', min, max, step: 'any', value: min, 'aria-label': 'value' });
  slider.addEventListener('input', () => { number.value = slider.value; });
  number.addEventListener('input', () => {
    if (number.value !== '')
      slider.value = Math.min(max, Math.max(min, Number(number.value)));
  });
  return [slider, number];
}

function enumControl(id, choices) {
  const values = choices.arguments.filter((a) => !a.key).map((a) => String(a.value));
  const restricted = argument(choices, 'restricted')?.value === true;
  if (restricted)
    return [el('select', { id }, values.map((value) => el('option', { value }, value)))];
  // An open choice: the listed values are suggestions, any text is allowed.
  const list = `${id}-choices`;
  return [el('input', { type: 'text', id, list, value: values[0] ?? '' }),
          el('datalist', { id: list }, values.map((value) => el('option', { value })))];
}

function control(attribute, id) {
  const range = find(attribute, '@Range');
  const choices = find(attribute, '@Enum');
  const file = find(attribute, '@File');
  switch (attribute.type) {
  case 'bool':
    return [el('input', { type: 'checkbox', id })];
  case 'float':
    if (range)
      return rangeControl(id, range);
    if (choices)
      return enumControl(id, choices);
    return [el('input', { type: 'number', id, step: 'any', value: 0 })];
  case 'string':
    if (choices)
      return enumControl(id, choices);
    if (find(attribute, '@Color'))
      return [el('input', { type: 'color', id })];
    if (file) {
      const accept = file.arguments.filter((a) => !a.key).map((a) => `.${a.value}`).join(',');
      return [el('input', { type: 'file', id, accept })];
    }
    return [el('input', { type: 'text', id })];
  default:
    return [el('span', { id, class: 'muted' }, `${attribute.type} value`)];
  }
}

function attributeRow(attribute) {
  const id = `attr-${attribute.name}`;
  const description = find(attribute, '@Description');
  const others = attribute.annotations.filter((a) => !isMarker(a) && !UNDERSTOOD.has(a.name));
  return el('div', { class: 'attribute', 'data-attribute': attribute.name, 'data-type': attribute.type },
    el('label', { for: id }, attribute.name),
    el('div', { class: 'control' }, control(attribute, id)),
    description ? el('div', { class: 'help' }, String(description.arguments[0]?.value ?? '')) : null,
    others.length ? el('div', { class: 'extra' }, others.map(annotationText).join(' ')) : null);
}

// The attributes come in the order the rule file info sorts them (group order, then order, then
// name), so each group's attributes are consecutive.
export function renderPanel(container, attributes) {
  const sections = [];
  for (const attribute of attributes) {
    const group = groupOf(attribute);
    if (sections.length === 0 || sections.at(-1).group !== group) {
      const fieldset = el('fieldset', { class: 'group', 'data-group': group },
        el('legend', {}, group || 'Attributes'));
      sections.push({ group, fieldset });
    }
    sections.at(-1).fieldset.append(attributeRow(attribute));
  }
  container.replaceChildren(...sections.map((s) => s.fieldset));
  if (sections.length === 0)
    container.append(el('p', { class: 'muted' }, 'This rule file has no attributes.'));
}
