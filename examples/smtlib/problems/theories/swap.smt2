; Is an array the same after two of its elements were swapped twice?
(set-logic QF_ALIA)
(declare-const a (Array Int Int))
(declare-const i Int)
(declare-const j Int)
(define-fun b () (Array Int Int) (store (store a i (select a j)) j (select a i)))
(define-fun c () (Array Int Int) (store (store b i (select b j)) j (select b i)))
(assert (not (= a c)))
(check-sat)
