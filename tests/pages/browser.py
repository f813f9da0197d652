#!/usr/bin/env python3
"""Opens pages of models in a browser without a window: they run without an error and load nothing, search
and links work, and names that look like HTML stay names.

usage: browser.py DRIVER BROWSER"""
import os
import re
import subprocess
import sys
import tempfile

TOP = os.path.join(os.path.dirname(os.path.abspath(__file__)), '..', '..')
# What a user does, and what is then seen; errors of the page's own script come first.
PROBE = '''<script>
const seen = [], shown = list => document.querySelectorAll('#' + list + ' li:not([hidden])').length;
seen.push('links ' + [...document.querySelectorAll('a')].filter(a => {
  const to = a.getAttribute('href');
  return to[0] != '#' || !document.getElementById(to.slice(1)); }).length);
seen.push('images ' + document.images.length, 'all ' + shown('variables') + ' ' + shown('rules'));
dispatchEvent(new KeyboardEvent('keydown', {key: '/'}));
seen.push('focus ' + document.activeElement.id);
const box = document.getElementById('search');
box.value = WORDS;
box.dispatchEvent(new Event('input'));
setTimeout(() => {
  seen.push('found ' + shown('variables') + ' ' + shown('rules'),
            'matrix ' + document.querySelectorAll('#grid td.on').length);
  location.hash = '#r1';
  setTimeout(() => {
    seen.push('revealed ' + shown('rules'), 'errors ' + errors.length,
              'loaded ' + performance.getEntriesByType('resource').length);
    document.title = seen.join('; ');
  }, 100);
}, 400);
</script>'''
CATCH = '<script>const errors = []; onerror = text => errors.push(text);' \
        'addEventListener("securitypolicyviolation", event => errors.push(event.blockedURI));</script>'
# A model, words to search for, and what is seen.
PAGES = (
    ('examples/bicycle.pm', 'carbon',
     'links 0; images 0; all 7 6; focus search; found 1 1; matrix 2; revealed 6; errors 0; loaded 0'),
    ('examples/truck.pm', 'market export_wet',
     'links 0; images 0; all 334 482; focus search; found 1 4; matrix 10; revealed 482; errors 0; loaded 0'),
    ('hostile.xml', 'IMG <b',
     'links 0; images 0; all 2 2; focus search; found 1 1; matrix 1; revealed 1; errors 0; loaded 0'),
)
HOSTILE = '''type T : ["</script><b>", plain];
variable public attack : T; n : [0..5];
rule attack <> "</script><b>"; attack = plain -> n < 2;
'''


def main():
    driver, browser = os.path.abspath(sys.argv[1]), sys.argv[2]
    failures = 0
    with tempfile.TemporaryDirectory() as directory:
        os.chdir(directory)
        os.symlink(os.path.join(TOP, 'examples'), 'examples')
        with open('hostile.pm', 'w', encoding='ascii') as stream:
            stream.write(HOSTILE)
        subprocess.run([driver, 'convert', 'hostile.pm', 'hostile.xml'], check=True)
        with open('hostile.xml', 'r+', encoding='latin-1') as stream:
            text = stream.read().replace('attack', '&lt;/title>&lt;img src=x onerror=&quot;errors.push(1)&quot;>')
            stream.seek(0)
            stream.write(text)
        for model, words, expected in PAGES:
            page = subprocess.run([driver, 'report', model], check=True, stdout=subprocess.PIPE).stdout.decode()
            with open('page.html', 'w', encoding='utf-8') as stream:
                stream.write(page.replace('<head>', '<head>' + CATCH, 1).replace(
                    '</body>', PROBE.replace('WORDS', repr(words)) + '</body>', 1))
            found = subprocess.run(
                [browser, '--headless', '--no-sandbox', '--disable-gpu', '--user-data-dir=' + directory + '/profile',
                 '--virtual-time-budget=5000', '--dump-dom', 'file://' + directory + '/page.html'],
                check=False, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL).stdout.decode()
            title = re.search('<title>(.*?)</title>', found, re.S)
            if not title or title.group(1) != expected:
                failures += 1
                print('%s:\n  expected %s\n  found    %s' % (model, expected, title and title.group(1)))
    return 1 if failures else 0


if __name__ == '__main__':
    sys.exit(main())
