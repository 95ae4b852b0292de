// Helpers shared by the pages: fetching the API, building elements, spelling annotations.

export async function getJson(url) {
  const response = await fetch(url);
  const body = await response.json().catch(() => ({ error: response.statusText }));
  if (!response.ok)
    throw new Error(body.error || `${response.status} ${response.statusText}`);
  return body;
}

// el('td', {class: 'x'}, 'text', child...) builds an element; attributes set as properties when
// the element has one (value, checked), else as attributes.
export function el(tag, attributes = {}, ...children) {
  const node = document.createElement(tag);
  for (const [name, value] of Object.entries(attributes)) {
    if (value === undefined || value === null || value === false)
      continue;
    if (name in node && !name.startsWith('aria') && name !== 'list')
      node[name] = value;
    else
      node.setAttribute(name, value === true ? '' : value);
  }
  for (const child of children.flat())
    if (child !== null && child !== undefined)
      node.append(child instanceof Node ? child : String(child));
  return node;
}

export function argumentText(argument) {
  const value = argument.type === 'string' ? JSON.stringify(argument.value) : String(argument.value);
  return argument.key ? `${argument.key}=${value}` : value;
}

export function annotationText(annotation) {
  if (annotation.arguments.length === 0)
    return annotation.name;
  return `${annotation.name}(${annotation.arguments.map(argumentText).join(', ')})`;
}

// The markers the rule compiler puts on every attribute and rule say nothing to a reader.
export function isMarker(annotation) {
  return annotation.name === '_$ATTR' || annotation.name === '_$RULE';
}

export function formatBytes(bytes) {
  if (bytes === null || bytes === undefined)
    return '';
  if (bytes < 1024)
    return `${bytes} B`;
  return `${(bytes / 1024).toFixed(1)} KiB`;
}

export function fileLink(path) {
  return el('a', { href: `file.html?path=${encodeURIComponent(path)}` }, path);
}

// Calls onChange(library) now and whenever the library's generation moves on, about once a second.
export function watchLibrary(onChange) {
  let generation = null;
  const poll = async () => {
    try {
      const library = await getJson('/api/library');
      if (library.generation !== generation) {
        generation = library.generation;
        await onChange(library);
      }
    } catch (error) {
      console.warn('library poll failed', error);
    }
    setTimeout(poll, 1000);
  };
  poll();
}
