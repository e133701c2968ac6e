"""Opens pages of mechtool report in a browser, does what a person does, and looks at the result.

    check_report.py MECHTOOL EXAMPLES FOLDER

Leaves the pages and pictures of them in FOLDER.
"""

import json
import sys
import tempfile
import unittest
from pathlib import Path
from urllib.parse import quote

from selenium import webdriver
from selenium.webdriver.chrome.service import Service
from selenium.webdriver.common.action_chains import ActionChains
from selenium.webdriver.common.by import By
from selenium.webdriver.common.keys import Keys
from selenium.webdriver.support.ui import Select

from pages import HOSTILE, Maker

WIDTHS = (360, 800, 1600)
WORDS = {'Proved': 'proved', 'UnreliablyProved': 'unreliablyProved', 'Disproved': 'disproved',
         'Unknown': 'unknown', 'Unproved': 'unproved'}

# Elements whose text leaves their box to the right, or that leave the page.
OUTSIDE = """
const page = document.documentElement.clientWidth;
const scrolls = e => e.closest('.scroll, aside, select, svg, [hidden]');
const bad = [];
if (document.documentElement.scrollWidth > page) bad.push('the page scrolls sideways');
const all = document.querySelectorAll('h1, h2, h3, p, b, small, td, th, li, label, button, summary, figcaption');
for (const e of [...all].slice(0, 6000)) {
  if (!e.checkVisibility({contentVisibilityAuto: true})) continue;
  const style = getComputedStyle(e);
  if (style.display !== 'inline' && e.scrollWidth > e.clientWidth + 1)
    bad.push(e.tagName + ': ' + e.textContent.slice(0, 40));
  const box = e.getBoundingClientRect();
  if (!scrolls(e) && box.right > page + 1) bad.push('beyond: ' + e.textContent.slice(0, 40));
}
for (const e of document.querySelectorAll('svg.plot text')) {
  const box = e.getBBox(), view = e.ownerSVGElement.viewBox.baseVal;
  if (box.x < 0 || box.y < 0 || box.x + box.width > view.width || box.y + box.height > view.height)
    bad.push('drawing: ' + e.textContent);
}
return bad;
"""


def browser():
    options = webdriver.ChromeOptions()
    for word in ('--headless', '--no-sandbox', '--disable-gpu', '--disable-quic', '--no-first-run',
                 '--disable-background-networking', '--disable-component-update', '--disable-sync',
                 '--hide-scrollbars', '--user-data-dir=' + tempfile.mkdtemp(dir=FOLDER)):
        options.add_argument(word)
    options.set_capability('goog:loggingPrefs', {'browser': 'ALL', 'performance': 'ALL'})
    return webdriver.Chrome(options=options, service=Service('/usr/bin/chromedriver'))


def distance(one, other):
    return sum((a - b) ** 2 for a, b in zip(one, other)) ** .5


def linear(color):
    return [c / 12.92 if c <= .04045 else ((c + .055) / 1.055) ** 2.4
            for c in (x / 255 for x in color)]


def contrast(one, other):
    light = sorted(.05 + sum(w * c for w, c in zip((.2126, .7152, .0722), linear(x)))
                   for x in (one, other))
    return light[1] / light[0]


# What is left of red, green and blue without one kind of cones.
BLINDNESS = {
    'none': ((1, 0, 0), (0, 1, 0), (0, 0, 1)),
    'protanopia': ((.152, 1.053, -.205), (.115, .786, .099), (-.004, -.048, 1.052)),
    'deuteranopia': ((.367, .861, -.228), (.280, .673, .047), (-.012, .043, .969)),
    'tritanopia': ((1.256, -.077, -.179), (-.078, .931, .148), (.005, .691, .304)),
}


def lab(color, matrix):
    red, green, blue = (min(1, max(0, sum(w * c for w, c in zip(row, linear(color)))))
                        for row in matrix)
    xyz = (.4124 * red + .3576 * green + .1805 * blue, .2126 * red + .7152 * green + .0722 * blue,
           .0193 * red + .1192 * green + .9505 * blue)
    x, y, z = (t ** (1 / 3) if t > .008856 else 7.787 * t + 16 / 116
               for t in (xyz[0] / .9505, xyz[1], xyz[2] / 1.089))
    return 116 * y - 16, 500 * (x - y), 200 * (y - z)


class Report(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.pages = Maker(TOOL, FOLDER, EXAMPLES).all()
        cls.driver = browser()
        cls.addClassCleanup(cls.driver.quit)

    def open(self, name, address='', dark=False, width=1600):
        page, shown = self.pages[name]
        self.scheme(dark)
        self.size(width, 1000)
        self.driver.get('about:blank')
        self.driver.get(page.as_uri() + address)
        return shown

    def scheme(self, dark):
        self.driver.execute_cdp_cmd('Emulation.setEmulatedMedia', {'features': [
            {'name': 'prefers-color-scheme', 'value': 'dark' if dark else 'light'}]})

    def size(self, width, height):
        self.driver.execute_cdp_cmd('Emulation.setDeviceMetricsOverride', {
            'width': width, 'height': height, 'deviceScaleFactor': 1, 'mobile': False})

    def js(self, text, *words):
        return self.driver.execute_script(text, *words)

    def find(self, selector):
        return self.driver.find_element(By.CSS_SELECTOR, selector)

    def taken(self):
        """How many rows and squares the filters leave."""
        return self.js("return [document.querySelectorAll('#goals tbody tr:not([hidden])').length,"
                       "document.querySelectorAll('.o i:not(.off)').length]")

    def hash(self):
        return self.js('return decodeURIComponent(location.hash)')

    def picture(self, name):
        self.driver.save_screenshot(str(FOLDER / (name + '.png')))

    def test_totals_are_those_of_show(self):
        for name in self.pages:
            with self.subTest(name):
                shown = self.open(name)
                table = self.js("return [...document.querySelectorAll('#overview tbody tr')].map("
                                "row => [...row.cells].slice(1).map(cell => cell.textContent.trim()))")
                expected = [one['totals'] for one in shown['components']]
                if len(expected) > 1:
                    expected.append(shown['totals'])
                keys = ('goals', *WORDS.values(), 'provedByMechanisms', 'provedByProver')
                self.assertEqual(table, [[str(one[key]) for key in keys] for one in expected])
                totals = shown['totals']
                self.assertEqual(self.taken(), [totals['goals']] * 2)
                for word, key in WORDS.items():
                    count = self.js("return [...document.querySelectorAll('#goals tbody tr')]"
                                    ".filter(row => row.cells[1].textContent === arguments[0])"
                                    ".length", word)
                    self.assertEqual(count, totals[key], word)
                records = self.js("return [...document.querySelectorAll('#mechanisms tbody tr')]"
                                  ".map(row => +row.cells[3].textContent)")
                self.assertEqual(records, [one['records'] for mechanism in shown['mechanisms']
                                           for one in (mechanism, *mechanism['drivers'])])

    def test_filters_agree_with_show_and_stand_in_the_address(self):
        shown = self.open('big')
        self.find('#filters [value=Disproved]').click()
        self.assertEqual(self.taken(), [shown['totals']['disproved']] * 2)
        self.assertEqual(self.hash(), '#status=Disproved')
        self.find('#filters [type=reset]').click()
        for place, key in (('0', 'proved'), ('1', 'provedOnlyHere')):
            self.js("document.querySelector('#filters select').focus()")
            Select(self.find('#filters select')).select_by_value('po'[int(place)] + '0')
            self.assertEqual(self.taken()[0], shown['mechanisms'][0][key])
        self.assertEqual(self.hash(), '#records=proved+only+by:direct')
        self.find('#filters [name=text]').send_keys('OPERATION_77')
        names = self.js("return [...document.querySelectorAll('.o:not([hidden]) b')]"
                        ".map(name => name.textContent)")
        self.assertTrue(names and all('operation_77' in name for name in names), names)
        left, address = self.taken(), self.js('return location.hash')
        self.open('big', address)
        self.assertEqual(self.taken(), left)
        self.assertEqual(self.find('#filters [name=text]').get_attribute('value'), 'OPERATION_77')

    def test_pointing_shows_a_goal_and_a_click_keeps_it(self):
        self.open('full')
        squares = self.driver.find_elements(By.CSS_SELECTOR, '.o i')
        ActionChains(self.driver).move_to_element(squares[3]).perform()
        first = self.find('#goals tbody tr:nth-child(4) td').text
        self.assertIn(self.find('#goals tbody tr:nth-child(4) td').get_attribute('textContent'),
                      self.find('#detail').text, first)
        self.assertIn('direct ', self.find('#detail').text)
        ActionChains(self.driver).move_to_element(self.find('h1')).perform()
        self.assertFalse(self.find('#detail').is_displayed())
        squares[5].click()
        ActionChains(self.driver).move_to_element(squares[9]).perform()
        kept = self.find('#detail h3').text
        self.assertTrue(kept)
        self.assertIn('goal=', self.hash())
        self.picture('full-detail')
        address = self.js('return location.hash')
        self.open('full', address)
        self.assertEqual(self.find('#detail h3').text, kept)
        self.find('#detail button').click()
        self.assertFalse(self.find('#detail').is_displayed())
        self.assertEqual(self.hash(), '')

    def test_the_keyboard_reaches_every_goal(self):
        self.open('example')
        self.js("document.querySelector('#filters button').focus()")
        keys = ActionChains(self.driver).send_keys
        keys(Keys.TAB).perform()
        name = lambda: self.find('#detail h3').text
        self.assertEqual(name(), self.find('#goals tbody tr td').get_attribute('textContent'))
        self.assertIn(name(), self.js("return document.activeElement.getAttribute('aria-label')"))
        ActionChains(self.driver).send_keys(Keys.ARROW_RIGHT).perform()
        self.assertTrue(name().endswith('.2'), name())
        ActionChains(self.driver).send_keys(Keys.ARROW_DOWN).perform()
        second = self.js("return document.querySelectorAll('.o b')[1].textContent")
        self.assertEqual(name(), second + '.1')
        ActionChains(self.driver).send_keys(Keys.ENTER, Keys.ARROW_UP).perform()
        self.assertEqual(name(), second + '.1')
        ActionChains(self.driver).send_keys(Keys.ESCAPE, Keys.END).perform()
        last = self.js("return [...document.querySelectorAll('#goals tbody tr')].pop()"
                       ".cells[0].textContent.trim()")
        self.assertEqual(name(), last)

    def test_the_table_is_sorted(self):
        self.open('full')
        self.js("document.querySelectorAll('#goals th button')[2].click()")
        seconds = self.js("return [...document.querySelectorAll('#goals tbody tr')].map(row => "
                          "parseFloat(row.cells[2].textContent) || -1)")
        self.assertEqual(seconds, sorted(seconds))
        self.js("document.querySelectorAll('#goals th button')[1].click()")
        first = self.js("return document.querySelector('#goals tbody tr').cells[1].textContent")
        self.assertEqual(first, 'Disproved')
        self.assertEqual(self.taken(), [210, 210])

    def test_a_pair_of_drivers_is_chosen(self):
        self.open('full')
        choice = Select(self.find('#choose-pair select'))
        choice.select_by_index(2)
        shown = [figure.is_displayed()
                 for figure in self.driver.find_elements(By.CSS_SELECTOR, '.pair')]
        self.assertEqual(shown, [False, False, True] + [False] * (len(shown) - 3))

    def test_hostile_names_are_texts(self):
        self.open('hostile')
        page = self.js('return document.body.textContent')
        for name in (HOSTILE[0], HOSTILE[1], HOSTILE[3], '{{script}}', '%1%2%3', '\\u202e'):
            self.assertIn(name, page)
        self.assertEqual(self.js("return document.querySelectorAll('img, script').length"), 1)
        self.assertEqual(self.js('return document.title'), HOSTILE[0])
        for tag in HOSTILE:
            self.open('hostile', '#name=' + quote(tag) + '&goal=' + quote(tag + '.1'))
            self.find('h1')
        self.assertIsNone(self.js("return document.querySelector('img')"))

    def test_no_text_leaves_its_box(self):
        for name in ('example', 'hostile', 'empty', 'full'):
            for width in WIDTHS:
                for dark in (False, True):
                    with self.subTest(name=name, width=width, dark=dark):
                        self.open(name, dark=dark, width=width)
                        height = min(self.js('return document.documentElement.scrollHeight'), 5000)
                        self.size(width, height)
                        self.picture(f'{name}-{width}-{"dark" if dark else "light"}')
                        for part in self.driver.find_elements(By.CSS_SELECTOR, 'main > section'):
                            part.screenshot(str(FOLDER / f'{name}-{part.get_attribute("id")}'
                                                f'-{width}-{"dark" if dark else "light"}.png'))
                        self.assertEqual(self.js(OUTSIDE), [])

    def test_it_is_usable_soon(self):
        times = []
        for _ in range(3):
            self.open('big')
            times.append(int(self.js('return document.documentElement.dataset.ready')))
            self.js("document.querySelector('#goals').scrollIntoView()")
            self.picture('big-table')
        print(f'20,000 goals, {self.pages["big"][0].stat().st_size} bytes: usable after {times} ms',
              file=sys.stderr)
        self.assertLess(min(times), 2000)
        self.assertLess(self.pages['big'][0].stat().st_size, 6_000_000)

    def test_colours_are_told_apart(self):
        for dark in (False, True):
            self.open('example', dark=dark)
            text = self.js("const style = getComputedStyle(document.documentElement);"
                           "return Object.fromEntries(['page', 'panel', 'ink', 'quiet', 'accent', "
                           "'p', 'r', 'd', 'k', 'edge'].map("
                           "name => [name, style.getPropertyValue('--' + name)]))")
            color = {name: [int(value.strip()[i:i + 2], 16) for i in (1, 3, 5)]
                     for name, value in text.items()}
            for name in ('ink', 'quiet', 'accent'):
                for ground in ('page', 'panel'):
                    self.assertGreater(contrast(color[name], color[ground]), 4.5, (name, dark))
            for name in 'prdk':
                self.assertGreater(contrast(color[name], color['page']), 3, (name, dark))
            self.assertGreater(contrast(color['edge'], color['page']), 3)
            for kind, matrix in BLINDNESS.items():
                for one in 'prdk':
                    for other in 'prdk':
                        if one < other:
                            apart = distance(lab(color[one], matrix), lab(color[other], matrix))
                            self.assertGreater(apart, 14, (kind, one, other, dark))

    def test_it_works_without_script_and_on_paper(self):
        self.driver.execute_cdp_cmd('Emulation.setScriptExecutionDisabled', {'value': True})
        self.addCleanup(self.driver.execute_cdp_cmd, 'Emulation.setScriptExecutionDisabled',
                        {'value': False})
        self.open('full')
        self.assertFalse(self.find('#filters').is_displayed())
        self.assertTrue(all(figure.is_displayed() for figure in
                            self.driver.find_elements(By.CSS_SELECTOR, '.pair')))
        (FOLDER / 'full.pdf').write_bytes(__import__('base64').b64decode(
            self.driver.execute_cdp_cmd('Page.printToPDF', {'printBackground': False})['data']))

    def tearDown(self):
        """Nothing on the console, and nothing asked for but the pages."""
        self.assertEqual([line['message'] for line in self.driver.get_log('browser')], [])
        asked = set()
        for entry in self.driver.get_log('performance'):
            message = json.loads(entry['message'])['message']
            of = message['params'].get('documentURL', '')
            if message['method'] == 'Network.requestWillBeSent' and of.startswith('file:'):
                asked.add(message['params']['request']['url'])
        pages = {page.as_uri() for page, _ in self.pages.values()}
        self.assertLessEqual({url.split('#')[0] for url in asked}, pages)


if __name__ == '__main__':
    TOOL, EXAMPLES, FOLDER = sys.argv[1], sys.argv[2], Path(sys.argv[3])
    unittest.main(argv=sys.argv[:1] + sys.argv[4:])
