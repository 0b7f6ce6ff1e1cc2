"""Prints the commands of the host as JSON: their texts, and those of their arguments. Runs in kzhost."""
import json

import kz


def answer(method, *arguments):
    """What the method answers, or None where the command has nothing to say."""
    try:
        return method(*arguments)
    except (LookupError, NotImplementedError):
        return None


def described(name):
    command = kz.service.Command().Spawn(0, name)
    attributes = kz.object.Attributes(command)
    arguments = []
    for index in range(attributes.Count()):
        flags = command.ArgFlags(index)
        arguments.append({
            'name': attributes.Name(index), 'type': attributes.TypeName(index),
            'optional': bool(flags & kz.symbol.fCMDARG_OPTIONAL), 'query': bool(flags & kz.symbol.fCMDARG_QUERY),
            'toggle': bool(flags & kz.symbol.fCMDARG_TOGGLE), 'text': answer(command.ArgDesc, index),
            'values': answer(command.ArgTypeDesc, index)})
    return {'name': name, 'title': answer(command.UserName), 'text': answer(command.Desc), 'arguments': arguments}


service = kz.service.Command()
names = [service.CommandByIndex(index) for index in range(service.CommandCount())]
print json.dumps([described(name) for name in names], indent=1, sort_keys=True)
