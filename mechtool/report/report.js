// What the page does beyond showing: filters, what is recorded on a goal, sorting, and the choice of
// a drawing. Names are only ever read and written as text.
(() => {
'use strict';

const find = selector => document.querySelector(selector);
const all = selector => [...document.querySelectorAll(selector)];

const form = find('#filters');
const detail = find('#detail');
const rows = all('#goals tbody tr');
const lines = all('.o');
const squares = all('.o i');
const placeOf = new Map(squares.map((square, place) => [square, place]));

const nameOf = place => rows[place].cells[0].textContent.trim();

// The obligation of each goal, with its name in full.
const lineOf = squares.map(square => square.parentNode.parentNode);
const fullNameOf = line => line.firstChild.title || line.firstChild.textContent;

// The state, which the address after "#" tells.
let pinned = -1;
let current = -1;

function records() {
    const chosen = form.by.selectedOptions[0];
    return chosen.value ? chosen.parentNode.label + ':' + chosen.text : '';
}

function address() {
    const words = new URLSearchParams();
    const wanted = all('#filters [name=status]:checked').map(box => box.value);
    if (wanted.length) words.set('status', wanted.join(','));
    if (records()) words.set('records', records());
    if (form.text.value) words.set('name', form.text.value);
    if (pinned >= 0) words.set('goal', nameOf(pinned));
    return words.toString();
}

function remember() {
    const words = address();
    if (words !== location.hash.slice(1)) {
        history.replaceState(null, '', words ? '#' + words : location.pathname + location.search);
    }
}

function recall() {
    const words = new URLSearchParams(location.hash.slice(1));
    const wanted = (words.get('status') || '').split(',');
    all('#filters [name=status]').forEach(box => { box.checked = wanted.includes(box.value); });
    const options = [...form.by.options];
    const by = words.get('records');
    form.by.value = by ? (options.find(option => option.value &&
        option.parentNode.label + ':' + option.text === by) || options[0]).value : '';
    form.text.value = words.get('name') || '';
    const goal = words.get('goal');
    pinned = goal ? rows.findIndex((row, place) => nameOf(place) === goal) : -1;
    if (pinned >= 0) {
        lineOf[pinned].scrollIntoView({block: 'center'});
    }
}

// Filters.

function tester() {
    const classes = all('#filters [name=status]:checked').map(box => box.dataset.class);
    const by = form.by.value;
    const keys = by[0] === 'p' ? ['p' + by.slice(1) + ' ', 'o' + by.slice(1) + ' '] : [by + ' '];
    const text = form.text.value.toLowerCase();
    const fits = new Map(lines.map(line => [line, fullNameOf(line).toLowerCase().includes(text)]));
    return place => {
        const row = rows[place];
        const kept = ' ' + (row.dataset.r || '');
        return (!classes.length || classes.includes(squares[place].classList[0])) &&
            (!by || keys.some(key => kept.includes(' ' + key))) &&
            (!text || fits.get(lineOf[place]) || nameOf(place).toLowerCase().includes(text));
    };
}

function filter() {
    const takes = tester();
    const isAll = !form.text.value && !form.by.value && !find('#filters [name=status]:checked');
    const seen = new Set();
    let count = 0;
    rows.forEach((row, place) => {
        const taken = isAll || takes(place);
        if (row.hidden === taken) {
            row.hidden = !taken;
            squares[place].classList.toggle('off', !taken);
        }
        if (taken) {
            ++count;
            seen.add(lineOf[place]);
        }
    });
    lines.forEach(line => { line.hidden = !isAll && !seen.has(line); });
    form.count.textContent = isAll ? rows.length + ' goals' : count + ' of ' + rows.length + ' goals';
}

function change() {
    filter();
    remember();
}

// What is recorded on a goal.

function element(tag, text) {
    const made = document.createElement(tag);
    made.textContent = text;
    return made;
}

let shownPlace = -1;

function show(place) {
    if (place === shownPlace) return;
    if (shownPlace >= 0) {
        squares[shownPlace].classList.remove('open');
        rows[shownPlace].classList.remove('open');
    }
    shownPlace = place;
    detail.hidden = place < 0;
    if (place < 0) return;
    const cells = [...rows[place].cells].map(cell => cell.textContent.trim());
    const title = element('h3', cells[0]);
    const status = element('p', cells[1] + (cells.length > 3 && cells[2] ? ', ' + cells[2] + ' s' : ''));
    const list = document.createElement('ul');
    for (const record of cells[cells.length - 1].split('; ').filter(word => word)) {
        list.append(element('li', record));
    }
    detail.replaceChildren(title, status, list);
    if (lineOf[place].firstChild.title) {
        detail.append(element('p', lineOf[place].firstChild.title));
    }
    if (place === pinned) {
        const close = element('button', 'Close');
        close.type = 'button';
        close.addEventListener('click', () => pin(-1));
        detail.append(close);
        squares[place].classList.add('open');
        rows[place].classList.add('open');
    }
}

function pin(place) {
    pinned = place;
    shownPlace >= 0 && show(-1);
    show(place);
    remember();
}

// The keyboard: one stop for the whole map, arrows inside.

function label(place) {
    const cells = [...rows[place].cells].map(cell => cell.textContent.trim());
    return cells[0] + ', ' + cells[1] + (cells[cells.length - 1] ? '; ' + cells[cells.length - 1] : '');
}

function makeCurrent(place, focused) {
    if (current >= 0) {
        squares[current].removeAttribute('tabindex');
    }
    current = place;
    if (place < 0) return;
    const square = squares[place];
    square.tabIndex = 0;
    square.setAttribute('role', 'button');
    square.setAttribute('aria-label', label(place));
    focused && square.focus();
}

const isTaken = place => !rows[place].hidden;

// The next goal that the filters take, in steps of one.
function nextFrom(place, step) {
    for (let i = place + step; i >= 0 && i < squares.length; i += step) {
        if (isTaken(i)) return i;
    }
    return place;
}

// The first goal that they take in the next obligation.
function nextLine(place, step) {
    let i = place;
    do { i = nextFrom(i, step); } while (lineOf[i] === lineOf[place] && nextFrom(i, step) !== i);
    if (lineOf[i] === lineOf[place]) return place;
    while (step < 0 && nextFrom(i, -1) !== i && lineOf[nextFrom(i, -1)] === lineOf[i]) {
        i = nextFrom(i, -1);
    }
    return i;
}

const moves = {
    ArrowRight: place => nextFrom(place, 1),
    ArrowLeft: place => nextFrom(place, -1),
    ArrowDown: place => nextLine(place, 1),
    ArrowUp: place => nextLine(place, -1),
    Home: () => nextFrom(-1, 1),
    End: () => nextFrom(squares.length, -1),
};

function onKey(event) {
    const place = placeOf.get(event.target);
    if (place === undefined || event.altKey || event.ctrlKey || event.metaKey) return;
    if (moves[event.key]) {
        makeCurrent(moves[event.key](place), true);
    } else if (event.key === 'Enter' || event.key === ' ') {
        pin(place === pinned ? -1 : place);
    } else {
        return;
    }
    event.preventDefault();
}

function startMap() {
    const map = find('#map');
    const hover = event => {
        const place = placeOf.get(event.target);
        if (place !== undefined && pinned < 0) show(place);
    };
    map.addEventListener('mouseover', hover);
    map.addEventListener('focusin', hover);
    map.addEventListener('mouseout', () => { if (pinned < 0) show(-1); });
    map.addEventListener('focusout', () => { if (pinned < 0) show(-1); });
    map.addEventListener('click', event => {
        const place = placeOf.get(event.target);
        if (place !== undefined) {
            makeCurrent(place, true);
            pin(place === pinned ? -1 : place);
        }
    });
    map.addEventListener('keydown', onKey);
    document.addEventListener('keydown', event => {
        if (event.key === 'Escape' && pinned >= 0) pin(-1);
    });
}

// The order of the table.

const RANKS = {d: 0, u: 1, k: 2, r: 3, p: 4};

function sortBy(heading, column) {
    const down = heading.getAttribute('aria-sort') === 'ascending';
    all('#goals thead th').forEach(other => other.removeAttribute('aria-sort'));
    heading.setAttribute('aria-sort', down ? 'descending' : 'ascending');
    const number = heading.classList.contains('n');
    const keyOf = (row, place) => column === 0 ? place
        : column === 1 ? RANKS[squares[place].classList[0]]
        : number ? parseFloat(row.cells[column].textContent) || -1
        : row.cells[column].textContent;
    const keyed = rows.map((row, place) => [keyOf(row, place), place, row]);
    keyed.sort((a, b) => (a[0] < b[0] ? -1 : a[0] > b[0] ? 1 : 0) || a[1] - b[1]);
    if (down) keyed.reverse();
    const body = document.createDocumentFragment();
    keyed.forEach(entry => body.append(entry[2]));
    find('#goals tbody').append(body);
}

function startTable() {
    all('#goals thead th').forEach((heading, column) => {
        const button = element('button', heading.textContent);
        button.type = 'button';
        button.addEventListener('click', () => sortBy(heading, column));
        heading.replaceChildren(button);
    });
}

// One drawing of two drivers at a time.

function startPairs() {
    const figures = all('.pair');
    const field = find('#choose-pair');
    if (figures.length < 2) return;
    const select = field.querySelector('select');
    figures.forEach((figure, place) => {
        const option = element('option', figure.querySelector('figcaption').textContent);
        option.value = place;
        select.append(option);
        figure.hidden = place > 0;
    });
    select.addEventListener('change', () => {
        figures.forEach((figure, place) => { figure.hidden = place !== Number(select.value); });
    });
    field.hidden = false;
}

startPairs();
if (form) {
    form.hidden = false;
    form.addEventListener('change', change);
    form.text.addEventListener('input', change);
    form.addEventListener('submit', event => event.preventDefault());
    form.addEventListener('reset', () => setTimeout(change));
    startMap();
    startTable();
    const arrive = () => {
        recall();
        filter();
        const place = pinned;
        show(-1);
        pinned = place;
        show(pinned);
    };
    window.addEventListener('hashchange', arrive);
    arrive();
    makeCurrent(nextFrom(-1, 1), false);
}
document.documentElement.dataset.ready = Math.round(performance.now());
})();
