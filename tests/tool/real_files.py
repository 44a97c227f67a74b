#!/usr/bin/env python3
"""Edits copies of real files with wyx, and checks the results with other programs.

  real_files.py [--most N] WYX FILE_OR_FOLDER...

In every file that Python's configparser reads with sections, adds a key, changes a key, deletes a key
and adds a section. Each edit may change only the bytes of its line: one run of bytes is replaced,
inserted or removed. Every other value must stay the same for configparser, and for git if it reads the
file as configuration. Values that 'wyx ini get' and configparser both find must agree. A refused edit
is counted with its reason, and must leave the file as it was. Exits with 1 if anything differs, or if
edits are refused in more than one file and in more than one in a hundred; with 77 if configparser reads
no file.
"""
import collections
import configparser
import os
import pathlib
import shutil
import subprocess
import sys
import tempfile

MOST_REFUSED = 0.01
SUFFIXES = {'.ini', '.cfg', '.conf', '.cnf', '.desktop', '.service', '.socket', '.timer', '.target',
            '.mount', '.path', '.slice', '.network', '.link', '.theme', '.directory', '.repo',
            '.client', '.local', '.preset', '.colors', '.kcsrc', '.ui', '.rc', '.container', ''}
NAMES = {'.gitconfig', '.editorconfig', '.flake8', '.pylintrc', '.coveragerc', '.npmrc'}
VALUE = 'wyx-4711'


def is_candidate(path):
    name = path.name
    return (path.suffix in SUFFIXES or name in NAMES) and path.is_file() and not path.is_symlink()


def candidates(names):
    for name in map(pathlib.Path, names):
        if name.is_dir():
            yield from sorted(p for p in name.rglob('*') if is_candidate(p))
        else:
            yield name


def parse(data):
    """All values as configparser sees them, or None."""
    parser = configparser.RawConfigParser(allow_no_value=True)
    try:
        parser.read_string(data.decode('utf-8-sig', 'surrogateescape'))
    except (configparser.Error, ValueError, AttributeError, TypeError):
        return None
    values = {s: dict(parser.items(s)) for s in parser.sections()}
    return values if values and not parser.defaults() else None


def git(path):
    """All values as git sees them, or None."""
    if not shutil.which('git'):
        return None
    run = subprocess.run(['git', 'config', '-z', '--file', str(path), '--list'],
                         capture_output=True)
    return run.stdout.split(b'\0') if run.returncode == 0 else None


def changed_lines(before, after):
    """The bytes that differ: those before and those after."""
    front = 0
    while front < min(len(before), len(after)) and before[front] == after[front]:
        front += 1
    back = 0
    while (back < min(len(before), len(after)) - front and
           before[len(before) - 1 - back] == after[len(after) - 1 - back]):
        back += 1
    return before[front:len(before) - back], after[front:len(after) - back]


def has_comment(value, read):
    """Does configparser's value consist of what wyx read and a comment?"""
    return value.startswith(read) and value[len(read):].lstrip(' \t').startswith(';')


class Trial:
    def __init__(self, wyx, folder):
        self.wyx, self.copy = wyx, pathlib.Path(folder) / 'copy.ini'
        self.counts = collections.Counter()
        self.refusals = []
        self.errors = []

    def run(self, *arguments):
        return subprocess.run([self.wyx, 'ini', *arguments], capture_output=True,
                              errors='surrogateescape')

    def edit(self, path, data, what, words, expected, wanted):
        """Makes one edit; `wanted` checks the differing bytes."""
        self.copy.write_bytes(data)
        git_before = git(self.copy)
        run = self.run(words[0], '--', str(self.copy), *words[1:])
        after = self.copy.read_bytes()
        self.counts[what] += 1
        if run.returncode != 0:
            self.refusals.append((path, what, words, run.stderr.strip()))
            if after != data:
                self.errors.append((path, what, 'refused, but changed'))
            return False
        old, new = changed_lines(data, after)
        if not wanted(old, new):
            self.errors.append((path, what, f'{words}: {old[:200]!r} -> {new[:200]!r}'))
        values = parse(after)
        if values != expected:
            self.errors.append((path, what, f'{words}: configparser sees other values'))
        if git_before is not None:
            git_after = git(self.copy)
            self.counts['git'] += 1
            lost = set(git_before) - set(git_after or [])
            if git_after is None or len(lost) > (1 if what in ('change', 'delete') else 0):
                shown = 'nothing' if git_after is None else f'no longer {sorted(lost)[:5]}'
                self.errors.append((path, what, f'{words}: git sees {shown}'))
        return True

    def compare_values(self, path, values):
        """For keys whose value is on one line, 'get' must return what configparser has."""
        for section in list(values)[-2:]:
            for key, value in list(values[section].items())[:3]:
                if value is None or '\n' in value:
                    continue
                run = self.run('get', '--', str(path), section, key)
                if run.returncode != 0:
                    continue  # "key : value", which wyx does not read
                self.counts['values'] += 1
                got = run.stdout.rstrip('\n')
                if value != got and not has_comment(value, got) and '\\' not in value:
                    self.errors.append((path, 'value', f'{section}.{key}: {got!r} != {value!r}'))

    def file(self, path):
        data = path.read_bytes()
        values = parse(data)
        if values is None or b'\0' in data:
            self.counts['not read by configparser'] += 1
            return
        self.counts['files'] += 1
        refused = len(self.refusals)
        section = list(values)[-1]
        self.compare_values(path, values)

        def with_key(name, key, value):
            return {**values, name: {**values.get(name, {}), key: value}}

        def is_line(key):
            return lambda old, new: (old == b'' and new.count(b'\n') + new.count(b'\r') <= 4 and
                                     key.encode() in new and len(new) < 300)

        self.edit(path, data, 'new key', ['set', section, f'zzz={VALUE}'],
                  with_key(section, 'zzz', VALUE), is_line('zzz'))
        self.edit(path, data, 'new section', ['set', 'zztop', f'zzz={VALUE}'],
                  with_key('zztop', 'zzz', VALUE), is_line('zztop'))
        # One of the keys, a different one in each file.
        keys = [(s, k, v) for s in values for k, v in values[s].items() if v is not None]
        first = self.counts['files'] * 7 % max(1, len(keys))
        found = next((key for key in (keys[first:] + keys[:first])[:20]
                      if self.run('get', '--', str(path), *key[:2]).returncode == 0), None)
        if found:
            section, key, value = found
            read = self.run('get', '--', str(path), section, key).stdout.rstrip('\n')
            comment = value[len(read):] if has_comment(value, read) else ''

            def is_value(old, new):
                lines = value.split('\n')
                size = sum(map(len, value.encode('utf-8', 'surrogateescape').split(b'\n')))
                return len(new) <= len(VALUE) + 2 and len(old) <= size + 200 * len(lines)

            def is_deleted(old, new):
                return new == b'' and len(old) <= len(value) * 4 + len(key) * 4 + 300

            self.edit(path, data, 'change', ['set', section, f'{key}={VALUE}'],
                      with_key(section, key, VALUE + comment), is_value)
            without = {**values, section: {k: v for k, v in values[section].items() if k != key}}
            self.edit(path, data, 'delete', ['del', section, key], without, is_deleted)
        self.counts['files with a refusal'] += len(self.refusals) > refused


def main():
    arguments = sys.argv[1:]
    most = None
    if arguments[:1] == ['--most']:
        most = int(arguments[1])
        arguments = arguments[2:]
    if len(arguments) < 2:
        sys.exit(__doc__)
    with tempfile.TemporaryDirectory() as folder:
        trial = Trial(os.path.abspath(arguments[0]), folder)
        for path in candidates(arguments[1:]):
            if trial.counts['files'] == most:
                break
            try:
                trial.file(path)
            except OSError as error:
                print(error, file=sys.stderr)
    for path, what, words, reason in trial.refusals:
        print(f'refused: {path}: {what} {words[1:]}: {reason}')
    for path, what, message in trial.errors:
        print(f'WRONG: {path}: {what}: {message}')
    for what, count in sorted(trial.counts.items()):
        print(f'{count:7} {what}')
    files = trial.counts['files']
    refused = trial.counts['files with a refusal']
    print(f'{files} files, {refused} of them with a refused edit, {len(trial.errors)} wrong')
    if files == 0:
        print('skipped: no file that configparser reads')
        sys.exit(77)
    sys.exit(1 if trial.errors or refused > max(1, files * MOST_REFUSED) else 0)


if __name__ == '__main__':
    main()
