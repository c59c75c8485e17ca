"""check_schemas.py SOURCE_DIRECTORY

Validates the test documents against the schema files: the good ones are valid, the tolerated and the bad
ones are not. A document that a schema passes is thus one that the reader takes as it was meant.
"""

import json
import pathlib
import sys

import jsonschema

source = pathlib.Path(sys.argv[1])
wrong = 0
checked = 0


def load(path):
    return json.loads((source / path).read_text(encoding="utf-8"))


for name in ("data", "cache"):
    schema = load(f"docs/schema/{name}-configuration.schema.json")
    jsonschema.Draft7Validator.check_schema(schema)
    validator = jsonschema.Draft7Validator(schema)
    for row in load(f"tests/data/configurations/{name}.json"):
        checked += 1
        errors = [error.message for error in validator.iter_errors(row["document"])]
        if (not errors) != (row["verdict"] == "good"):
            wrong += 1
            print(f"{name}, {row['label']}: {row['verdict']}, but the schema says {errors or 'valid'}")

built_in = load("cli/data/default-data-configuration.json")
for error in jsonschema.Draft7Validator(load("docs/schema/data-configuration.schema.json")).iter_errors(built_in):
    wrong += 1
    print(f"built-in configuration: {error.message}")

print(f"{checked} documents checked, {wrong} wrong")
sys.exit(1 if wrong or checked < 60 else 0)
