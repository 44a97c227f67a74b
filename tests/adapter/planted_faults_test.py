#!/usr/bin/env python3
"""Plants faults in copies of the client's adapter: the suite must report the broken promise.

    planted_faults_test.py SUITE SOURCE_FOLDER WORK_FOLDER C_COMPILER
"""

import pathlib
import re
import shutil
import subprocess
import sys

SUITE, SOURCE, WORK, COMPILER = sys.argv[1:]
SOURCE, WORK = pathlib.Path(SOURCE), pathlib.Path(WORK)

FAULTS = [  # a text that occurs once in the adapter, its replacement, part of the broken promise
    ("calloc(1, ulSize != 0 ? ulSize : 1)", "malloc(ulSize != 0 ? ulSize : 1)", "zero bytes"),
    ("malloc(ulSize != 0 ? ulSize : 1)", "(ulSize != 0 ? malloc(ulSize) : NULL)", "size of 0"),
    ("void *const block = malloc(ulSize != 0 ? ulSize : 1);",
     "char *const raw = malloc(ulSize + 1); void *const block = raw != NULL ? raw + 1 : NULL;",
     "aligned"),
    ("    *ppBlock = NULL;\n", "", "sets the variable to null"),
    ("liveBlocks, pBlock != NULL, __ATOMIC_RELAXED);\n    free(pBlock);",
     "liveBlocks, *(char *)pBlock != 1, __ATOMIC_RELAXED);", "both releases accept null"),
    ("    stored->size = 0;\n", "", "empties a file"),
    ('strcmp(pszMode, "w") == 0 ? Create(pszName) : Find(pszName)', "Create(pszName)",
     "does not exist, and does not create it"),
    ("pstruFile->stored->data[pstruFile->at++] : -1",
     "(signed char)pstruFile->stored->data[pstruFile->at++] : -1", "every byte comes back"),
    ("pstruFile->stored->data[pstruFile->at++] : -1",
     "pstruFile->stored->data[pstruFile->at++] : (pstruFile->at = 0)", "returns -1"),
    ("lOffset < -base || lOffset > size - base", "lOffset > size - base", "to before the start"),
    ("lWhence == 1 ? (QAL_LONG)pstruFile->at : size",
     "lWhence == 1 ? (QAL_LONG)pstruFile->at : 0", "from the start, the position and the end"),
    ("(QAL_UINT32)(base + lOffset)", "(QAL_UINT32)(base + lOffset) / 4096 * 4096 == "
     "(QAL_UINT32)base / 4096 * 4096 ? (QAL_UINT32)(base + lOffset) : (QAL_UINT32)base",
     "steps back by one byte"),
    ("    }\n    return ulCount;", "    }\n    return ulSize * ulCount;", "number of items"),
    ("ulSize == 0 || ulCount", "ulCount", "no item, or of items of no size"),
    ("    pstruFile->at += ulSize * ulCount;\n", "    pstruFile->at = ulSize * ulCount;\n",
     "follows what was written before"),
    ("        stored->name[0] = '\\0';\n    }\n    pthread_mutex_unlock(&lock);\n"
     "    return stored != NULL ? 0 : -1;",
     "        stored->name[0] = '\\0';\n    }\n    pthread_mutex_unlock(&lock);\n    return 0;",
     "XELP_Remove fails"),
    ("    if (stored != NULL) {\n        stored->name[0] = '\\0';\n    }",
     "    if (stored != NULL) {\n        stored->size = 0;\n    }", "XELP_Remove removes"),
    ("        if (replaced != NULL) {\n            replaced->name[0] = '\\0';\n        }",
     "        if (replaced != NULL) {\n            stored = NULL;\n        }", "replaces a file"),
    ("        strcpy(stored->name, pszNewName);", "        (void)0;", "to the new name"),
    ("        stored = Find(pszOldName);", "        stored = Create(pszOldName);",
     "XELP_Rename of a file that does not exist"),
    ("QAL_CHAR *XELP_StrStr(", "QAL_CHAR *Other(", "XELP_StrStr is exported"),
    ("static Stored files[MAX_FILES];", "static __thread Stored files[1];", "70,000|at once"),
    ("(QAL_UINT64)now.tv_sec * 1000 + (QAL_UINT64)now.tv_nsec / 1000000",
     "(QAL_UINT64)now.tv_sec", "milliseconds"),
    ("return (QAL_UINT32)strlen(pszStr);", "return (QAL_UINT32)strlen(pszStr) + 1;", "StrLen"),
    ("return strchr(pszStr, lChar);", "return lChar != 0 ? strchr(pszStr, lChar) : NULL;",
     "find the terminator"),
    ("return strrchr(pszStr, lChar);", "return strchr(pszStr, lChar);", "the last of each byte"),
    ("return strstr(pszStr, pszSub);", "return *pszSub != 0 ? strstr(pszStr, pszSub) : NULL;",
     "StrStr"),
    ("left = Lower((unsigned char)*pszLeft++);", "left = Lower(*(const signed char *)pszLeft++);",
     "StriCmp orders"),
    ("byte >= 'A' && byte <= 'Z'", "byte >= 'A' && byte <= '_'", "ASCII letters only"),
    ("ulCount > ulDestMax) {\n        return 1;\n    }\n    memcpy",
     "0) {\n        return 1;\n    }\n    memcpy", "memcpy_s refuses"),
    ("pDest == NULL || ulCount > ulDestMax", "pDest == NULL || ulCount >= ulDestMax",
     "memset_s fills"),
    ("strlen(pszSrc) > ulDestMax", "strlen(pszSrc) >= ulDestMax", "exactly the bound"),
    ("strlen(pszSrc) >= ulDestMax - strlen(pszDest)) {\n        return Refuse(pszDest, 1);",
     "strlen(pszSrc) >= ulDestMax - strlen(pszDest)) {\n        return 1;", "strcat_s refuses"),
    ("strnlen(pszDest, ulDestMax) == ulDestMax ||", "", "without a terminator"),
    ("ulDestMax ? Refuse(pszDest, -1) : length", "ulDestMax ? -1 : length", "sprintf_s refuses"),
    ("(QAL_ULONG)length >= ulDestMax ?", "(QAL_ULONG)length + 1 >= ulDestMax ?", "last byte"),
    ("    if (ulDestMax == 0) {\n        return -1;\n    }\n", "", "sprintf_s refuses"),
]


def try_on(name, text):
    """Runs the suite on an adapter built from this source."""
    source = WORK / f"{name}.c"
    library = WORK / f"{name}.so"
    source.write_text(text)
    subprocess.run([COMPILER, "-shared", "-fPIC", "-w", f"-I{SOURCE / 'include'}",
                    f"-I{SOURCE / 'platform'}", source, "-o", library], check=True)
    return subprocess.run([SUITE, library], capture_output=True, text=True)


shutil.rmtree(WORK, ignore_errors=True)
WORK.mkdir(parents=True)
adapter = (SOURCE / "tests/adapter/client/client_adapter.c").read_text()
failures = 0

sound = try_on("sound", adapter)
if sound.returncode != 0 or "not ok" in sound.stdout:
    print("the adapter itself:", sound.stdout, sound.stderr)
    failures += 1
for number, (original, planted, promise) in enumerate(FAULTS):
    if adapter.count(original) != 1:
        print(f"FAILED: occurs {adapter.count(original)} times in the adapter: {original}")
        failures += 1
        continue
    result = try_on(f"fault{number}", adapter.replace(original, planted))
    broken = re.findall(r"^not ok .*", result.stdout, re.MULTILINE)
    if result.returncode != 1 or not any(re.search(promise, line) for line in broken):
        print(f"FAILED: not reported: {planted!r}; broken: {broken}")
        failures += 1
    plan = re.search(r"^1\.\.(\d+)$", result.stdout, re.MULTILINE)
    lines = re.findall(r"^(?:not )?ok ", result.stdout, re.MULTILINE)
    if plan is None or int(plan.group(1)) != len(lines):
        print(f"FAILED: the plan is not the number of lines: {result.stdout}")
        failures += 1
nothing = subprocess.run([SUITE, WORK / "none.so"], capture_output=True, text=True)
if nothing.returncode != 2 or "none.so" not in nothing.stderr:
    print("FAILED: a missing library was not reported:", nothing)
    failures += 1
print(f"{len(FAULTS)} faults planted, {failures} failures")
sys.exit(failures != 0)
