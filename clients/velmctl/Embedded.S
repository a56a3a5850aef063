// Files that velmctl has within it.
   .section .rodata

// The descriptors of all schemas with their comments, as protoc writes them.
   .global velmctlSchemasBegin
   .global velmctlSchemasEnd
velmctlSchemasBegin:
   .incbin SCHEMAS_FILE
velmctlSchemasEnd:

   .global velmctlCompletionBegin
   .global velmctlCompletionEnd
velmctlCompletionBegin:
   .incbin COMPLETION_FILE
velmctlCompletionEnd:
   .byte 0

   .section .note.GNU-stack, "", %progbits
