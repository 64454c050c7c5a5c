#!/usr/bin/env python3
"""The release: the same bytes twice, whole, and told by its bill of materials as it is."""
import hashlib
import json
import os
import subprocess
import sys
import tarfile
import tempfile
import unittest
from pathlib import Path

sys.dont_write_bytecode = True
ROOT = Path(__file__).resolve().parent.parent.parent
sys.path.insert(0, str(ROOT / 'scripts/lib'))
from hosttests import version  # noqa: E402

NAME = 'VelmoraQsmErrorHandler'
TITLE = f'{NAME}-{version()}'
FORMS = ('efi', 'ffs', 'depex', 'map', 'debug.efi')
ARCHIVE = ROOT / f'build/release/{TITLE}.tar.gz'


def run(*words, **options):
    return subprocess.run(words, check=True, capture_output=True, text=True, **options).stdout


class Release(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        run(ROOT / 'scripts/release')
        cls.bytes = ARCHIVE.read_bytes()
        directory = tempfile.TemporaryDirectory()
        cls.addClassCleanup(directory.cleanup)
        with tarfile.open(ARCHIVE) as archive:
            cls.members = archive.getmembers()
            archive.extractall(directory.name)
        cls.path = Path(directory.name) / TITLE

    def test_another_user_elsewhere_makes_the_same_bytes(self):
        (ROOT / 'README.md').touch()
        os.utime(ROOT / 'docs')
        run('sh', '-c', f'umask 077; exec {ROOT}/scripts/release', cwd='/',
            env=dict(os.environ, TZ='Asia/Tokyo', LC_ALL='C.UTF-8', GZIP='-1'))
        self.assertEqual(hashlib.sha256(self.bytes).digest(),
                         hashlib.sha256(ARCHIVE.read_bytes()).digest())
        self.assertEqual({(m.uid, m.gid, m.uname, m.mtime) for m in self.members},
                         {(0, 0, 'root', self.members[0].mtime)})

    def test_it_is_whole(self):
        files = {str(path.relative_to(self.path)) for path in self.path.rglob('*')
                 if path.is_file()}
        documents = {str(path.relative_to(ROOT)) for directory in ('docs', 'Include')
                     for path in (ROOT / directory).rglob('*') if path.suffix in ('.md', '.h')}
        self.assertLessEqual(
            {f'{NAME}.{form}' for form in FORMS} |
            {'LICENSE', 'README.md', 'CHANGELOG.md', 'size.txt', 'sbom.cdx.json'} | documents,
            files)
        run('sha256sum', '--check', '--strict', 'SHA256SUMS', cwd=self.path)
        sums = (self.path / 'SHA256SUMS').read_text().splitlines()
        self.assertEqual({line.split('  ')[1] for line in sums}, files - {'SHA256SUMS'})
        for form in FORMS:
            self.assertEqual((self.path / f'{NAME}.{form}').read_bytes(),
                             (ROOT / f'build/image/{NAME}.{form}').read_bytes(), form)

    def test_another_parser_reads_the_firmware_file(self):
        volume = self.path.parent / 'volume'
        run(ROOT / 'build/image/firmwarefile', 'volume', volume, self.path / f'{NAME}.ffs')
        run('UEFIExtract', volume, 'report')
        self.assertRegex(Path(f'{volume}.report.txt').read_text(),
                         rf'SMM module .* {NAME}\n.* MM dependency .*\n.* PE32 image .*\n'
                         r'.* UI .*\n.* Version ')

    def test_the_tools_of_its_build_tell_the_version(self):
        for tool in ('build/image/firmwarefile', 'build/image/imagecheck', 'scripts/release',
                     'scripts/coverage', 'Tools/stackframes/stackframes.py'):
            self.assertRegex(run(ROOT / tool, '--version'), rf'^\S+ {version()}\n$')

    def test_the_image_bears_the_version(self):
        headers = run('llvm-readobj', '--file-headers', self.path / f'{NAME}.efi')
        major, minor, _ = version().split('.')
        self.assertIn(f'MajorImageVersion: {major}\n', headers)
        self.assertIn(f'MinorImageVersion: {minor}\n', headers)

    def test_the_bill_of_materials_names_the_driver_alone(self):
        bill = json.loads((self.path / 'sbom.cdx.json').read_text())
        self.assertEqual((bill['bomFormat'], bill['specVersion'], bill['version']),
                         ('CycloneDX', '1.5', 1))
        self.assertRegex(bill['metadata']['timestamp'], r'^\d{4}(-\d\d){2}T\d\d(:\d\d){2}Z$')
        component, = bill['components']
        self.assertEqual((component['type'], component['name'], component['version']),
                         ('firmware', NAME, version()))
        self.assertEqual(component['licenses'], [{'license': {'id': 'BSD-2-Clause'}}])
        self.assertEqual(bill['dependencies'], [{'ref': component['bom-ref'], 'dependsOn': []}])
        forms = component['externalReferences']
        self.assertEqual([form['url'] for form in forms], [f'{NAME}.efi', f'{NAME}.ffs'])
        self.assertEqual(component['hashes'], forms[0]['hashes'])
        for form in forms:
            content = (self.path / form['url']).read_bytes()
            self.assertEqual(form['hashes'], [
                {'alg': f'SHA-{bits}', 'content': hashlib.new(f'sha{bits}', content).hexdigest()}
                for bits in (256, 512)])


if __name__ == '__main__':
    unittest.main()
